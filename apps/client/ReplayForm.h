#pragma once

#include "FormGrid.h"
#include "IdentityFields.h"

#include <functional>
#include <memory>

namespace tqclient {

/// The form that opens a recorded room.
class ReplayForm {
public:
    using Submit = std::function<void(std::shared_ptr<tq::TQWBRecordConfig>)>;

    ReplayForm(const Options& options, Submit submit);

    FormGrid& grid() { return m_grid; }
    IdentityFields& identity() { return m_identity; }
    void setUrl(const std::string& url) { FormGrid::setText(m_url, url); }

private:
    void submitted();

    FormGrid m_grid;
    IdentityFields m_identity;
    GtkEditable* m_url;
    Submit m_submit;
};

} // namespace tqclient
