#include "Translation.h"

#include <cstdarg>
#include <filesystem>
#include <memory>

namespace tqclient {

namespace {

constexpr const char* kDomain = "tqwhiteboard";

/// The folder of the translations: as installed, or as built.
std::filesystem::path translationFolder()
{
    std::error_code failure;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
    const auto built = programs / "locale";
    return std::filesystem::is_directory(built, failure) ? built : programs / TQWB_LOCALE_FROM_PROGRAMS;
}

} // namespace

void installTranslations()
{
    bindtextdomain(kDomain, translationFolder().c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
    textdomain(kDomain);
}

std::string formatted(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::unique_ptr<char, decltype(&g_free)> text(g_strdup_vprintf(format, arguments), g_free);
    va_end(arguments);
    return text.get();
}

} // namespace tqclient
