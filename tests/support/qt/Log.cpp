#include "tests/support/Log.h"

#include <QLoggingCategory>
#include <gtest/gtest.h>
#include <iostream>

namespace tq::test {

namespace {

void write(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const auto line = message.toStdString();
    if (context.category && std::string_view(context.category) == "TQWhiteBoardLib")
        addLogLine(line);
    else if (type == QtCriticalMsg)
        ADD_FAILURE() << "the toolkit complains: " << line;
    std::cerr << (context.category ? context.category : "") << ": " << line << '\n';
}

} // namespace

void captureLog() { qInstallMessageHandler(write); }

} // namespace tq::test
