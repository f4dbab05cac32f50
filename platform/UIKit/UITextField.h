#pragma once

#include "UIView.h"

#include <memory>
#include <string>

namespace tq {

/// A field for one line of text. Main thread only.
class TQWB_EXPORT UITextField final : public UIView {
public:
    static std::shared_ptr<UITextField> initWithFrame(CGRect frame);
    ~UITextField() override;

    /// What the field holds. A text that is too long to be shown whole is given back whole as long as its user has not
    /// changed what is shown of it.
    std::string text() const;
    void setText(std::string text);

private:
    explicit UITextField(CGRect frame);

    std::string m_text;
    std::string m_shownText;
};

} // namespace tq
