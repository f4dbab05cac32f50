#pragma once

#include "UIView.h"

#include <memory>
#include <string>
#include <string_view>

namespace tq {

/// A field for one line of text. Main thread only.
class UITextField final : public UIView {
public:
    static std::shared_ptr<UITextField> initWithFrame(CGRect frame);
    ~UITextField() override;

    /// What the field shows, and nothing else.
    std::string text() const;
    /// Shows the beginning of a text: 1,000 characters at most, in one line, without those that nobody sees.
    void setText(std::string_view text);

private:
    explicit UITextField(CGRect frame);
};

} // namespace tq
