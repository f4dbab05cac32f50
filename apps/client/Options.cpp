#include "Options.h"

#include "Translation.h"

#include <charconv>
#include <glib.h>
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

enum class Accepts { Anything, JoinOnly, PlayOnly, Rooms };

/// One option: who may use it, and how its value is taken; `take` answers whether the value is usable.
struct Rule {
    std::string_view name;
    std::string_view expected;
    Accepts accepts;
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

constexpr Rule kValueOptions[] = {
    { "--app-key", "a text", Accepts::Rooms, takeText<&Options::appKey> },
    { "--token", "a text", Accepts::Rooms, takeText<&Options::token> },
    { "--room", "a text", Accepts::Rooms, takeText<&Options::room> },
    { "--user", "a text", Accepts::Rooms, takeText<&Options::user> },
    { "--name", "a text", Accepts::Rooms, takeText<&Options::name> },
    { "--url", "an address", Accepts::PlayOnly, takeText<&Options::url> },
    { "--role", "0 (presenter) or another whole number (viewer)", Accepts::JoinOnly, takeNumber<&Options::role> },
    { "--minutes", "a whole number of 32 bits", Accepts::JoinOnly, takeNumber<&Options::minutes> },
    { "--ca", "a file", Accepts::Anything, takeText<&Options::caFile> },
    { "--size", "a size such as 1280x800", Accepts::Anything, takeSize },
};

struct Flag {
    std::string_view name;
    void (*set)(Options&);
};

constexpr Flag kFlags[] = {
    { "--trust-any-page", [](Options& options) { options.trustsAnyPage = true; } },
    { "--debug", [](Options& options) { options.isDebug = true; } },
    { "--help", [](Options& options) { options.command = StartCommand::Help; } },
    { "--version", [](Options& options) { options.command = StartCommand::Version; } },
};

bool isAnswerOnly(StartCommand command) { return command == StartCommand::Help || command == StartCommand::Version; }

bool isAccepted(Accepts accepts, StartCommand command)
{
    switch (accepts) {
    case Accepts::Anything:
        return true;
    case Accepts::JoinOnly:
        return command == StartCommand::Join;
    case Accepts::PlayOnly:
        return command == StartCommand::Play;
    case Accepts::Rooms:
        return command == StartCommand::Join || command == StartCommand::Play;
    }
    return false;
}

/// Reads the arguments one by one.
class Parser {
public:
    explicit Parser(std::span<const std::string_view> arguments)
        : m_rest(arguments)
    {
    }

    std::variant<Options, UsageError> run()
    {
        while (!m_rest.empty() && !m_error && !isAnswerOnly(m_options.command)) {
            auto argument = m_rest.front();
            m_rest = m_rest.subspan(1);
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
            if (!isAccepted(rule->accepts, m_options.command))
                fail(misplaced(*rule));
        }
        if (m_error)
            return *m_error;
        return m_options;
    }

private:
    void fail(std::string message)
    {
        if (!m_error)
            m_error = UsageError{ std::move(message) };
    }

    static std::string misplaced(const Rule& rule)
    {
        std::string_view command = rule.accepts == Accepts::JoinOnly ? "join"
            : rule.accepts == Accepts::PlayOnly                      ? "play"
                                                                     : "join or play";
        return std::string(rule.name) + " belongs to " + std::string(command);
    }

    void readCommand(std::string_view word)
    {
        if (m_options.command != StartCommand::None)
            fail("unexpected argument \"" + std::string(word) + "\"");
        else if (word == "join")
            m_options.command = StartCommand::Join;
        else if (word == "play")
            m_options.command = StartCommand::Play;
        else
            fail("unknown command \"" + std::string(word) + "\"");
    }

    void readOption(std::string_view argument)
    {
        for (const Flag& flag : kFlags) {
            if (flag.name == argument)
                return flag.set(m_options);
        }
        auto equals = argument.find('=');
        auto name = argument.substr(0, equals);
        for (const Rule& rule : kValueOptions) {
            if (rule.name != name)
                continue;
            if (equals != argument.npos)
                readValue(rule, argument.substr(equals + 1));
            // Two dashes begin the next option; a value that does begin with them is written with "=".
            else if (m_rest.empty() || m_rest.front().starts_with("--"))
                fail(std::string(name) + " needs a value");
            else {
                readValue(rule, m_rest.front());
                m_rest = m_rest.subspan(1);
            }
            return;
        }
        fail("unknown option \"" + std::string(name) + "\"");
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
    std::optional<UsageError> m_error;
    std::vector<const Rule*> m_used;
};

} // namespace

std::variant<Options, UsageError> Options::parse(std::span<const std::string_view> arguments)
{
    return Parser(arguments).run();
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

std::shared_ptr<tq::TQWBRoomConfig> Options::roomConfig() const
{
    return std::make_shared<tq::TQWBRoomConfig>(tq::TQWBRoomConfig{
        .appKey = appKey,
        .token = token,
        .roomId = room,
        .userId = user,
        .userName = name,
        .roleType = role,
        .minutes = minutes,
    });
}

std::shared_ptr<tq::TQWBRecordConfig> Options::recordConfig() const
{
    return std::make_shared<tq::TQWBRecordConfig>(tq::TQWBRecordConfig{
        .appKey = appKey,
        .token = token,
        .roomId = room,
        .userId = user,
        .userName = name,
        .url = url,
    });
}

} // namespace tqclient
