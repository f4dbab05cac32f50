#pragma once

#include "FormGrid.h"
#include "IdentityFields.h"

#include <functional>
#include <memory>

namespace tqclient {

/// The form that joins a live room.
class JoinForm {
public:
    using Submit = std::function<void(std::shared_ptr<tq::TQWBRoomConfig>)>;

    JoinForm(const Options& options, Submit submit);

    FormGrid& grid() { return m_grid; }
    IdentityFields& identity() { return m_identity; }

private:
    void submitted();

    FormGrid m_grid;
    IdentityFields m_identity;
    GtkCheckButton* m_presenter;
    GtkEditable* m_minutes;
    tq::NSUInteger m_viewerRole;
    Submit m_submit;
};

} // namespace tqclient
