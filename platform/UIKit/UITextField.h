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

    /// What the field holds. Of a text that is too long for the screen the beginning is shown and can be changed; the
    /// rest stays behind it, unseen.
    std::string text() const;
    void setText(std::string_view text);

private:
    explicit UITextField(CGRect frame);

    std::string m_hiddenText;
};

} // namespace tq
