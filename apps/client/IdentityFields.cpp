#include "IdentityFields.h"

#include "Translation.h"

namespace tqclient {

IdentityFields::IdentityFields(FormGrid& form)
    : m_appKey(form.addText(_("_App key"), _("the application's key")))
    , m_token(form.addText(_("_Token"), _("your token"), FormGrid::Echo::Hidden))
    , m_room(form.addText(_("R_oom"), _("the room's identifier")))
    , m_user(form.addText(_("_User"), _("your identifier")))
    , m_name(form.addText(_("_Name"), _("what the others see")))
{
}

IdentityFields::Values IdentityFields::values() const
{
    return {
        .appKey = FormGrid::textOf(m_appKey),
        .token = FormGrid::textOf(m_token),
        .room = FormGrid::textOf(m_room),
        .user = FormGrid::textOf(m_user),
        .name = FormGrid::textOf(m_name),
    };
}

void IdentityFields::setValues(const Values& values)
{
    FormGrid::setText(m_appKey, values.appKey);
    FormGrid::setText(m_token, values.token);
    FormGrid::setText(m_room, values.room);
    FormGrid::setText(m_user, values.user);
    FormGrid::setText(m_name, values.name);
}

IdentityFields::Values IdentityFields::valuesOf(const Options& options)
{
    return {
        .appKey = options.appKey.value_or(""),
        .token = options.token.value_or(""),
        .room = options.room.value_or(""),
        .user = options.user.value_or(""),
        .name = options.name.value_or(""),
    };
}

} // namespace tqclient
