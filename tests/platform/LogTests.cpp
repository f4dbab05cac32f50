#include "platform/Foundation/NSLog.h"
#include "tests/support/Log.h"

#include <array>
#include <clocale>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <locale.h>
#include <sstream>
#include <unistd.h>

namespace tq::test {
namespace {

// What is written to standard error meanwhile.
class StandardError {
public:
    StandardError()
    {
        std::fflush(stderr);
        const int file = mkstemp(m_path.data());
        dup2(file, STDERR_FILENO);
        close(file);
    }
    ~StandardError() { std::remove(m_path.data()); }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    std::string take()
    {
        std::fflush(stderr);
        dup2(m_before, STDERR_FILENO);
        close(m_before);
        std::ostringstream text;
        text << std::ifstream(m_path.data()).rdbuf();
        return text.str();
    }

private:
    const int m_before = dup(STDERR_FILENO);
    std::array<char, 32> m_path{ "/tmp/tqwb-log-XXXXXX" };
};

TEST(LogTest, KeepsItsLettersWithoutALocaleAndStaysOneLine)
{
    const auto plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const auto before = uselocale(plain);
    StandardError errors;
    NSLog("[TQ:Log] joinWhiteBoard error：满\n[TQ:Log] joinWhiteBoard success");
    NSLog("Error! \n Method ", "a\nb", " is not invoked");
    const auto text = errors.take();
    uselocale(before);
    freelocale(plain);
    EXPECT_NE(text.find("joinWhiteBoard error：满\\n[TQ:Log]"), text.npos) << text;
    EXPECT_EQ(text.find("\n[TQ:Log]"), text.npos) << text;
    EXPECT_NE(text.find("Error! \n Method a\\nb is not invoked"), text.npos) << text;
}

} // namespace
} // namespace tq::test
