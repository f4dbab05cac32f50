#include "TQWhiteBoardLib/DialogLabels.h"

namespace tq {

std::map<std::string, std::string> englishDialogLabels()
{
    return {
        { "alertTitle", "Notice" },
        { "alertBtn", "OK" },
        { "confirmTitle", "Please confirm" },
        { "confirmCancelBtn", "Cancel" },
        { "confirmOkBtn", "OK" },
        { "promptCancelBtn", "Cancel" },
        { "promptOkBtn", "OK" },
    };
}

} // namespace tq
