#include "IdentityFields.h"

namespace tqclient {

IdentityFields::IdentityFields(FormGrid& form)
    : m_appKey(form.addText("_App key", "the application's key"))
    , m_token(form.addText("_Token", "your token", FormGrid::Echo::Hidden))
    , m_room(form.addText("R_oom", "the room's identifier"))
    , m_user(form.addText("_User", "your identifier"))
    , m_name(form.addText("_Name", "what the others see"))
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
