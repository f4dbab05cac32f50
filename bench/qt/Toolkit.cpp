#include "bench/Toolkit.h"

#include "BareMessages.h"

#include <QApplication>
#include <QTimer>
#include <QVBoxLayout>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>
#include <QWebEngineView>
#include <cstdlib>
#include <unistd.h>
#include <utility>

// The linker puts this one before the engine's own, void QWebEnginePage::load(const QUrl&): what the engine does about
// a load is not the library's.

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {
void __real__ZN14QWebEnginePage4loadERK4QUrl(QWebEnginePage*, const QUrl&);
Q_DECL_EXPORT void __wrap__ZN14QWebEnginePage4loadERK4QUrl(QWebEnginePage* page, const QUrl& url)
{
    tq::bench::timeOfLoad() = tq::bench::Clock::now();
    __real__ZN14QWebEnginePage4loadERK4QUrl(page, url);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace tq::bench {

namespace {

QString toQt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// One for all, as the library's pages have one.
QWebEngineProfile* bareProfile()
{
    static auto* s_profile = new QWebEngineProfile(QCoreApplication::instance());
    return s_profile;
}

} // namespace

const Port kPort{ .suffix = "-qt", .pageCallLimit = 1.10, .engineTextsAreUTF8 = false };

Toolkit::Toolkit()
{
    // The engine's sandbox wants another user than the one of a container.
    if (geteuid() == 0)
        setenv("QTWEBENGINE_DISABLE_SANDBOX", "1", 1);
    static int s_count = 1;
    static char s_name[] = "tqwb_bench_qt";
    static char* s_words[] = { s_name, nullptr };
    auto* application = new QApplication(s_count, s_words);
    // A turn of the main loop has an end.
    (new QTimer(application))->start(std::chrono::seconds(1));
}

Toolkit::~Toolkit() { delete qApp; }

// What is to be deleted later waits for a loop that is run by its own function.
void turnMainLoop()
{
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void* showInWindow(void* view)
{
    auto* window = new QWidget;
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins({});
    layout->addWidget(static_cast<QWidget*>(view));
    window->resize(400, 300);
    window->show();
    return window;
}

void destroyWindow(void* window) { delete static_cast<QWidget*>(window); }

std::optional<Clock::time_point>& timeOfLoad()
{
    static std::optional<Clock::time_point> s_time;
    return s_time;
}

struct EngineText::Native {
    QString text;
};

EngineText::EngineText(std::string_view text)
    : m_native(std::make_shared<Native>(Native{ toQt(text) }))
{
}

struct BarePage::Impl {
    class Page final : public QWebEnginePage {
    public:
        explicit Page(const Answer& answer, Texts texts)
            : QWebEnginePage(bareProfile())
            , m_answer(answer)
            , m_texts(texts)
        {
        }

    private:
        bool javaScriptPrompt(const QUrl&, const QString& message, const QString& text, QString* answer) override
        {
            [[maybe_unused]] const auto given = m_texts == Texts::AreUTF8 ? text.toStdString() : std::string();
            *answer = m_answer(message.toStdString()).native().text;
            return true;
        }

        const Answer& m_answer;
        const Texts m_texts;
    };

    explicit Impl(Answer answer, Texts texts)
        : answer(std::move(answer))
        , page(std::make_unique<Page>(this->answer, texts))
    {
    }

    const Answer answer;
    // Outlives the page.
    std::unique_ptr<BareMessages> messages;
    std::unique_ptr<Page> page;
    void* window = nullptr;
};

BarePage::BarePage(Answer answer, Texts texts)
    : m_impl(new Impl(std::move(answer), texts))
{
    using Settings = QWebEngineSettings;
    auto* view = new QWebEngineView;
    // As the library's default configuration has them.
    auto* settings = m_impl->page->settings();
    settings->setAttribute(Settings::JavascriptCanOpenWindows, false);
    settings->setAttribute(Settings::ErrorPageEnabled, false);
    settings->setAttribute(Settings::AutoLoadIconsForPage, false);
    view->setPage(m_impl->page.get());
    m_impl->window = showInWindow(view);
}

BarePage::~BarePage()
{
    m_impl->page.reset();
    destroyWindow(m_impl->window);
}

void BarePage::answerMessages()
{
    m_impl->messages = std::make_unique<BareMessages>();
    m_impl->messages->addTo(*m_impl->page);
}

void BarePage::load(const std::string& url) { m_impl->page->load(QUrl::fromEncoded(QByteArray::fromStdString(url))); }

void BarePage::evaluate(std::string_view script) { m_impl->page->runJavaScript(toQt(script)); }

void BarePage::evaluate(std::string_view script, std::function<void()> then)
{
    m_impl->page->runJavaScript(toQt(script), [then = std::move(then)](const QVariant& value) {
        [[maybe_unused]] const auto text = value.toString().toStdString();
        then();
    });
}

} // namespace tq::bench
