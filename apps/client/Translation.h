#pragma once

#include <glib.h>
// Everything below is the program's own domain of texts.
#include <glib/gi18n.h>
#include <string>

namespace tqclient {

/// Has texts shown in the user's language from now on. The translations are found beside the program, wherever it was
/// built or installed to.
void installTranslations();

/// The format with its arguments in their places, as of printf.
std::string formatted(const char* format, ...) G_GNUC_PRINTF(1, 2);

} // namespace tqclient
