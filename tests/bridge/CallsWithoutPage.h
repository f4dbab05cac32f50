#pragma once

#include "bridge/AsyncResult.h"
#include "bridge/NativeObjects.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tq::test {

using Texts = std::vector<std::string>;

/// Native objects, and the calls of a page that is not there.
class CallsWithoutPage : public testing::Test {
protected:
    struct Result final : ScriptResult {
        Result(Texts& newScripts, PageCallback callback)
            : ScriptResult(std::move(callback))
            , scripts(newScripts)
        {
        }
        void queueScript(std::string_view script) override { scripts.emplace_back(script); }
        Texts& scripts;
    };

    std::string call(std::string_view name, std::optional<std::string_view> message)
    {
        return objects.call(
            name, message,
            [this](PageCallback callback) { return std::make_shared<Result>(scripts, std::move(callback)); },
            [this](std::string_view missing) { missed.emplace_back(missing); });
    }

    Texts scripts;
    Texts missed;
    // Goes first: completions that were kept send their ends.
    NativeObjects objects;
};

} // namespace tq::test
