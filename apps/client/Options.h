#pragma once

#include "TQWhiteBoardLib/TQWBRecordConfig.h"
#include "TQWhiteBoardLib/TQWBRole.h"
#include "TQWhiteBoardLib/TQWBRoomConfig.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace tqclient {

/// What the program was started to do.
enum class StartCommand { None, Join, Play, Help, Version };

/// A window's size in points.
struct Size {
    int width = 1280;
    int height = 800;

    bool operator==(const Size&) const = default;
};

/// Why a command line cannot be used: one sentence for a person.
struct UsageError {
    std::string message;
};

/// The command line. A text whose option was left out is absent.
struct Options {
    StartCommand command = StartCommand::None;
    tq::OptionalText appKey;
    tq::OptionalText token;
    tq::OptionalText room;
    tq::OptionalText user;
    tq::OptionalText name;
    tq::OptionalText url;
    tq::NSUInteger role = tq::TQWBRolePresenter;
    std::int32_t minutes = 0;
    tq::OptionalText caFile;
    bool trustsAnyPage = false;
    bool isDebug = false;
    Size size;

    /// @param arguments without the program's own name.
    static std::variant<Options, UsageError> parse(std::span<const std::string_view> arguments);
    static std::string_view usage();
    /// In the user's language.
    static std::string help();

    // Records with these fields.
    tq::TQWBRoomConfig roomConfig() const;
    tq::TQWBRecordConfig recordConfig() const;
};

/// The whole text as a decimal number of the type; absent when it is anything else or out of the type's range.
template <class Number> std::optional<Number> parseNumber(std::string_view text);

} // namespace tqclient
