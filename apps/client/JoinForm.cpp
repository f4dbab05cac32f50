#include "JoinForm.h"

#include "Translation.h"

namespace tqclient {

namespace {

constexpr guint kPresenter = 0;
constexpr guint kViewer = 1;
constexpr std::int32_t kMostMinutes = 10000;

} // namespace

JoinForm::JoinForm(const Options& options, Submit submit)
    : m_grid(_("Jo_in the room"), [this] { submitted(); })
    , m_identity(m_grid)
    , m_viewerRole(options.role ? options.role : 1)
    , m_submit(std::move(submit))
{
    const char* roles[] = { _("Presenter"), _("Viewer"), nullptr };
    m_role = GTK_DROP_DOWN(gtk_drop_down_new_from_strings(roles));
    gtk_drop_down_set_selected(m_role, options.role ? kViewer : kPresenter);
    m_grid.addField(_("Rol_e"), GTK_WIDGET(m_role));
    m_minutes = m_grid.addText(_("_Minutes"), _("1440, a whole day"), FormGrid::Echo::Plain, FormGrid::Required::No);
    gtk_entry_set_input_purpose(GTK_ENTRY(m_minutes), GTK_INPUT_PURPOSE_DIGITS);
    if (options.minutes)
        FormGrid::setText(m_minutes, std::to_string(options.minutes));
    m_grid.addButton();
    m_identity.setValues(IdentityFields::valuesOf(options));
}

void JoinForm::submitted()
{
    auto text = FormGrid::textOf(m_minutes);
    auto minutes = text.empty() ? 0 : parseNumber<std::int32_t>(text);
    if (!minutes || *minutes < 0 || *minutes > kMostMinutes)
        return m_grid.complain(m_minutes, _("Minutes are a whole number from 0 to 10000."));
    auto identity = m_identity.values();
    m_submit(std::make_shared<tq::TQWBRoomConfig>(tq::TQWBRoomConfig{
        .appKey = identity.appKey,
        .token = identity.token,
        .roomId = identity.room,
        .userId = identity.user,
        .userName = identity.name,
        .roleType = gtk_drop_down_get_selected(m_role) == kPresenter ? 0 : m_viewerRole,
        .minutes = *minutes,
    }));
}

} // namespace tqclient
