#include "Options.h"

#include "Translation.h"

#include <algorithm>
#include <charconv>
#include <glib.h>
#include <iterator>
#include <system_error>
#include <vector>

namespace tqclient {

template <class Number> std::optional<Number> parseNumber(std::string_view text)
{
    Number number{};
    const char* end = text.data() + text.size();
    auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

template std::optional<tq::NSUInteger> parseNumber(std::string_view);
template std::optional<std::int32_t> parseNumber(std::string_view);

namespace {

constexpr int kLargestSide = 16384;

/// One option, and how its value is taken; `take` answers whether the value is usable.
struct Rule {
    std::string_view name;
    /// What the value is; empty for an option without one.
    std::string_view expected;
    /// The commands that it belongs to; empty for all, and none.
    std::string_view commands;
    bool (*take)(Options&, std::string_view value);
};

template <tq::OptionalText Options::*field> bool takeText(Options& options, std::string_view value)
{
    options.*field = std::string(value);
    return true;
}

template <auto field> bool takeNumber(Options& options, std::string_view value)
{
    auto number = parseNumber<std::remove_reference_t<decltype(options.*field)>>(value);
    if (number)
        options.*field = *number;
    return number.has_value();
}

bool takeSize(Options& options, std::string_view value)
{
    auto cross = value.find('x');
    if (cross == value.npos)
        return false;
    auto width = parseNumber<std::int32_t>(value.substr(0, cross));
    auto height = parseNumber<std::int32_t>(value.substr(cross + 1));
    if (!width || !height || *width < 1 || *height < 1 || *width > kLargestSide || *height > kLargestSide)
        return false;
    options.size = { *width, *height };
    return true;
}

template <auto field, auto value> bool set(Options& options, std::string_view)
{
    options.*field = value;
    return true;
}

constexpr std::string_view kRooms = "join or play";
constexpr Rule kRules[] = {
    { "--app-key", "a text", kRooms, takeText<&Options::appKey> },
    { "--token", "a text", kRooms, takeText<&Options::token> },
    { "--room", "a text", kRooms, takeText<&Options::room> },
    { "--user", "a text", kRooms, takeText<&Options::user> },
    { "--name", "a text", kRooms, takeText<&Options::name> },
    { "--url", "an address", "play", takeText<&Options::url> },
    { "--role", "0 (presenter) or another whole number (viewer)", "join", takeNumber<&Options::role> },
    { "--minutes", "a whole number of 32 bits", "join", takeNumber<&Options::minutes> },
    { "--ca", "a file", "", takeText<&Options::caFile> },
    { "--size", "a size such as 1280x800", "", takeSize },
    { "--trust-any-page", "", "", set<&Options::trustsAnyPage, true> },
    { "--debug", "", "", set<&Options::isDebug, true> },
    { "--help", "", "", set<&Options::command, StartCommand::Help> },
    { "--version", "", "", set<&Options::command, StartCommand::Version> },
};

bool isAnswerOnly(StartCommand command) { return command == StartCommand::Help || command == StartCommand::Version; }

/// Reads the arguments one by one.
class Parser {
public:
    explicit Parser(std::span<const std::string_view> arguments)
        : m_rest(arguments)
    {
    }

    Options run()
    {
        while (!m_rest.empty() && !isAnswerOnly(m_options.command)) {
            const auto argument = next();
            if (!g_utf8_validate(argument.data(), static_cast<gssize>(argument.size()), nullptr))
                fail("an argument is not valid UTF-8");
            else if (argument.starts_with("-"))
                readOption(argument);
            else
                readCommand(argument);
        }
        if (isAnswerOnly(m_options.command))
            return m_options;
        for (const Rule* rule : m_used) {
            if (!rule->commands.empty() && (m_command.empty() || rule->commands.find(m_command) == m_command.npos))
                fail(std::string(rule->name) + " belongs to " + std::string(rule->commands));
        }
        return m_options;
    }

private:
    std::string_view next()
    {
        const auto first = m_rest.front();
        m_rest = m_rest.subspan(1);
        return first;
    }

    [[noreturn]] static void fail(std::string message) { throw UsageError{ std::move(message) }; }

    void readCommand(std::string_view word)
    {
        if (!m_command.empty())
            fail("unexpected argument \"" + std::string(word) + "\"");
        if (word != "join" && word != "play")
            fail("unknown command \"" + std::string(word) + "\"");
        m_command = word;
        m_options.command = word == "join" ? StartCommand::Join : StartCommand::Play;
    }

    void readOption(std::string_view argument)
    {
        const auto equals = argument.find('=');
        const auto name = argument.substr(0, equals);
        const auto* rule = std::ranges::find(kRules, name, &Rule::name);
        const bool isKnown = rule != std::end(kRules);
        if (!isKnown || (rule->expected.empty() && equals != argument.npos))
            fail("unknown option \"" + std::string(name) + "\"");
        else if (rule->expected.empty())
            rule->take(m_options, {});
        else if (equals != argument.npos)
            readValue(*rule, argument.substr(equals + 1));
        // Two dashes begin the next option; a value that does begin with them is written with "=".
        else if (m_rest.empty() || m_rest.front().starts_with("--"))
            fail(std::string(name) + " needs a value");
        else
            readValue(*rule, next());
    }

    void readValue(const Rule& rule, std::string_view value)
    {
        if (!g_utf8_validate(value.data(), static_cast<gssize>(value.size()), nullptr))
            fail("the value of " + std::string(rule.name) + " is not valid UTF-8");
        else if (!rule.take(m_options, value))
            fail(std::string(rule.name) + " takes " + std::string(rule.expected) + ", not \"" + std::string(value)
                + "\"");
        m_used.push_back(&rule);
    }

    std::span<const std::string_view> m_rest;
    Options m_options;
    std::string_view m_command;
    std::vector<const Rule*> m_used;
};

} // namespace

std::variant<Options, UsageError> Options::parse(std::span<const std::string_view> arguments)
{
    try {
        return Parser(arguments).run();
    } catch (const UsageError& error) {
        return error;
    }
}

std::string_view Options::usage()
{
    return "usage: tqwhiteboard [join | play] [options]; tqwhiteboard --help lists the options";
}

std::string Options::help()
{
    return std::string(_("Shows a shared whiteboard room.\n")) + "\n" + _("usage:\n") +
        R"(  tqwhiteboard [OPTIONS]
  tqwhiteboard join --app-key K --token T --room R --user U --name N [--role 0] [--minutes M] [OPTIONS]
  tqwhiteboard play --app-key K --token T --room R --user U --name N --url URL [OPTIONS]
)"
        "\n"
        + _(R"(rooms:
  --app-key K        the application's key at the conference service
  --token T          the user's token; what follows its last "@" is a list of navigation hosts
  --room R           the room to join, or the room that was recorded
  --user U           the user's identifier
  --name N           the name that the others see
  --role 0           0 joins as presenter (the default), any other number as viewer
  --minutes M        how long the room is wanted; 0 (the default) asks for a day
  --url URL          the recording's address
)") + "\n"
        + _(R"(common options:
  --ca FILE          trust the certificates of this PEM file too
  --trust-any-page   show the room page whatever its server's certificate
  --size WxH         the window's size in points (default 1280x800)
  --debug            log the page's console, allow its inspector, end where a native method throws
  --help, --version
)") + "\n"
        + _(R"(An option that is left out leaves its field absent; --option=VALUE takes any value, "--" included.
)") + "\n"
        + _(R"(Standard output is one JSON object a line. Standard input takes one command a line:
  join, play, quit   run the operation (again), after those that are under way
  call NAME [LIST]   call a function of the room's page with the arguments of a JSON list; prints its answers
  exists NAME        ask whether the page has the function
  labels OBJECT      set the texts of the page's dialogs, as a JSON object with any of alertTitle, alertBtn,
                     confirmTitle, confirmCancelBtn, confirmOkBtn, promptCancelBtn, promptOkBtn; {} for the defaults
  screenshot PATH    write a picture of the board as a PNG file
  exit               end the program at once
)");
}

tq::TQWBRoomConfig Options::roomConfig() const
{
    return { .appKey = appKey,
        .token = token,
        .roomId = room,
        .userId = user,
        .userName = name,
        .roleType = role,
        .minutes = minutes };
}

tq::TQWBRecordConfig Options::recordConfig() const
{
    return { .appKey = appKey, .token = token, .roomId = room, .userId = user, .userName = name, .url = url };
}

} // namespace tqclient
