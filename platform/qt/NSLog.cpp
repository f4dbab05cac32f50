#include "../Foundation/NSLog.h"

#include "QtText.h"

#include <QLoggingCategory>

namespace tq {

void writeLogLine(const std::string& line)
{
    // Never destroyed: lines are written until the process ends.
    static const auto& s_category = *new QLoggingCategory("TQWhiteBoardLib");
    if (s_category.isInfoEnabled())
        QMessageLogger(nullptr, 0, nullptr, s_category.categoryName()).info().noquote() << toQt(line);
}

} // namespace tq
