#include "JoinForm.h"

#include "Accessible.h"
#include "TQWhiteBoardLib/TQWBRole.h"
#include "Translation.h"

namespace tqclient {

namespace {

constexpr std::int32_t kMostMinutes = 10000;

GtkWidget* choice(const char* label)
{
    GtkWidget* button = gtk_check_button_new_with_mnemonic(label);
    setAccessibleName(button, withoutMnemonic(label));
    gtk_accessible_reset_relation(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
    return button;
}

/// Adds the choice of a role, with the viewer chosen; answers the presenter's button.
GtkCheckButton* addRoles(FormGrid& form)
{
    GtkWidget* roles = boxWithRole(GTK_ACCESSIBLE_ROLE_RADIO_GROUP, GTK_ORIENTATION_HORIZONTAL, 18);
    GtkWidget* presenter = choice(_("Pr_esenter"));
    GtkWidget* viewer = choice(_("Vie_wer"));
    gtk_check_button_set_group(GTK_CHECK_BUTTON(viewer), GTK_CHECK_BUTTON(presenter));
    gtk_check_button_set_active(GTK_CHECK_BUTTON(viewer), TRUE);
    gtk_box_append(GTK_BOX(roles), presenter);
    gtk_box_append(GTK_BOX(roles), viewer);
    form.addField(_("Role"), roles);
    return GTK_CHECK_BUTTON(presenter);
}

} // namespace

JoinForm::JoinForm(const Options& options, Submit submit)
    : m_grid(_("Jo_in the room"), [this] { submitted(); })
    , m_identity(m_grid)
    , m_viewerRole(options.role ? options.role : tq::TQWBRoleViewer)
    , m_submit(std::move(submit))
{
    m_presenter = addRoles(m_grid);
    if (!options.role)
        gtk_check_button_set_active(m_presenter, TRUE);
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
        .roleType = gtk_check_button_get_active(m_presenter) ? tq::TQWBRolePresenter : m_viewerRole,
        .minutes = *minutes,
    }));
}

} // namespace tqclient
