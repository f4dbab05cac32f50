#include "ReplayForm.h"

#include "Translation.h"

namespace tqclient {

ReplayForm::ReplayForm(const Options& options, Submit submit)
    : m_grid(_("Open the recordin_g"), [this] { submitted(); })
    , m_identity(m_grid)
    , m_url(m_grid.addText(_("A_ddress"), _("the recording's address")))
    , m_submit(std::move(submit))
{
    gtk_entry_set_input_purpose(GTK_ENTRY(m_url), GTK_INPUT_PURPOSE_URL);
    m_grid.addButton();
    m_identity.setValues(IdentityFields::valuesOf(options));
    setUrl(options.url.value_or(""));
}

void ReplayForm::submitted()
{
    auto identity = m_identity.values();
    m_submit(std::make_shared<tq::TQWBRecordConfig>(tq::TQWBRecordConfig{
        .appKey = identity.appKey,
        .token = identity.token,
        .roomId = identity.room,
        .userId = identity.user,
        .userName = identity.name,
        .url = FormGrid::textOf(m_url),
    }));
}

} // namespace tqclient
