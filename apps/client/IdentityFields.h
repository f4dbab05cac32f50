#pragma once

#include "FormGrid.h"
#include "Options.h"

#include <string>

namespace tqclient {

/// The fields that joining and replaying have in common: who wants to see which room.
class IdentityFields {
public:
    struct Values {
        std::string appKey;
        std::string token;
        std::string room;
        std::string user;
        std::string name;
    };

    /// Adds the fields to the form.
    explicit IdentityFields(FormGrid& form);

    Values values() const;
    void setValues(const Values& values);
    static Values valuesOf(const Options& options);

private:
    GtkEditable* m_appKey;
    GtkEditable* m_token;
    GtkEditable* m_room;
    GtkEditable* m_user;
    GtkEditable* m_name;
};

} // namespace tqclient
