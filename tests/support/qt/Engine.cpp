#include "tests/support/Engine.h"

#include "EngineView.h"
#include "platform/qt/PageQuestion.h"
#include "tests/support/MainLoop.h"

#include <QApplication>
#include <QImageReader>
#include <QPointer>
#include <QWebEnginePage>
#include <QWebEngineUrlRequestInterceptor>
#include <csignal>

namespace tq::test {

const EngineTraits kEngine{ .cutsTextsAtZero = false,
    .refusesWindowsByNull = false,
    .tellsAnswersFirst = false,
    .explainsFailures = false,
    .namesPagesToCome = false,
    .tellsFrames = true,
    .goesOnWithinCalls = false,
    .waitsWithoutRequests = false,
    .putsPagesAway = false,
    .runsScriptsInEmptyFrames = false,
    .pagesFrame = "at ",
    .unknownFunction = "Uncaught ReferenceError: undefinedFunction is not defined",
    .evaluatedIn = "<anonymous>",
    .evaluatedAt = ":2:10)" };

// It takes a plugin that comes apart.
bool readsTiff() { return QImageReader::supportedImageFormats().contains("tiff"); }

void crashPage(const WKWebView& view) { kill(static_cast<pid_t>(engineOf(view)->page()->renderProcessPid()), SIGKILL); }

struct EngineWatch::Impl {
    QPointer<QWebEnginePage> page;
};

EngineWatch::EngineWatch(const WKWebView& view)
    : m_impl(std::make_unique<Impl>(Impl{ engineOf(view)->page() }))
{
}

EngineWatch::~EngineWatch()
{
    runUntil([this] { return !m_impl->page; }, "the engine's page is gone");
}

void EngineWatch::repeatProgress() const { Q_EMIT m_impl->page->loadProgress(100); }

void EngineWatch::afterProgress(std::function<void()> after)
{
    QObject::connect(m_impl->page, &QWebEnginePage::loadProgress, m_impl->page, std::move(after));
}

namespace {

// Pages wait for dialogs by requests.
class QuestionCounter final : public QWebEngineUrlRequestInterceptor {
public:
    explicit QuestionCounter(int& count)
        : m_count(count)
    {
    }
    void interceptRequest(QWebEngineUrlRequestInfo& info) override
    {
        m_count += info.requestUrl().scheme() == kAnswerScheme ? 1 : 0;
    }

private:
    int& m_count;
};

} // namespace

EngineEvents::EngineEvents(Kind kind)
{
    const auto counter = std::make_shared<QuestionCounter>(m_count);
    for (auto* widget : QApplication::allWidgets()) {
        const auto* engine = qobject_cast<QWebEngineView*>(widget);
        if (engine && kind == Crashes)
            QObject::connect(engine, &QWebEngineView::renderProcessTerminated, counter.get(), [this] { ++m_count; });
        else if (engine)
            engine->page()->setUrlRequestInterceptor(counter.get());
    }
    m_connection = counter;
}

bool isInspectorAllowed(const WKWebView& view) { return engineOf(view)->contextMenuPolicy() == Qt::CustomContextMenu; }

} // namespace tq::test
