#pragma once

#include "platform/Foundation/Export.h"

#include <map>
#include <string>

namespace tq {

/// English texts for all titles and buttons of a view's own dialogs, to be given to
/// `DWKWebView::customJavascriptDialogLabelTitles` as they are, or with some of them replaced. Any thread.
TQWB_EXPORT std::map<std::string, std::string> englishDialogLabels();

} // namespace tq
