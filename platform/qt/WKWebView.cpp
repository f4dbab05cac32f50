#include "../WebKit/WKWebView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "../UIKit/UIView.h"
#include "Colors.h"
#include "EnginePage.h"
#include "PageScripts.h"
#include "TQWhiteBoardLib/qt/NativeView.h"

#include <QApplication>
#include <QMenu>
#include <QUuid>
#include <QVBoxLayout>
#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWheelEvent>
#include <algorithm>
#include <cassert>
#include <utility>

namespace tq {

namespace {

QWidget* createContainer()
{
    auto* container = new QWidget;
    auto* layout = new QVBoxLayout(container);
    layout->setContentsMargins({});
    layout->addWidget(new QWebEngineView);
    container->setAutoFillBackground(true);
    return container;
}

void apply(const WKWebViewConfiguration& configuration, QWebEngineSettings& settings)
{
    using Settings = QWebEngineSettings;
    const auto preferences = configuration.preferences ? *configuration.preferences : WKPreferences{};
    settings.setAttribute(Settings::JavascriptEnabled, preferences.javaScriptEnabled);
    settings.setAttribute(Settings::JavascriptCanOpenWindows, preferences.javaScriptCanOpenWindowsAutomatically);
    settings.setAttribute(Settings::LocalContentCanAccessFileUrls, preferences.allowFileAccessFromFileURLs);
    settings.setAttribute(Settings::LocalContentCanAccessRemoteUrls, configuration.allowUniversalAccessFromFileURLs);
    settings.setAttribute(Settings::ErrorPageEnabled, false);
    // Nobody shows them.
    settings.setAttribute(Settings::AutoLoadIconsForPage, false);
}

QWidget* widgetOf(const UIView& view) { return static_cast<QWidget*>(view.nativeHandle()); }

} // namespace

WKWebView::Impl::Impl(WKWebView& view, const WKWebViewConfiguration& configuration)
    : view(view)
    , configuration(configuration)
    , container(createContainer())
    , engineView(container->findChild<QWebEngineView*>())
    , arrival("_tqarrival=" + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    QObject::connect(engineView, &QWidget::customContextMenuRequested, engineView,
        [this](const QPoint& place) { showContextMenu(place); });
    // The page that asks for a window gives it what it shares with its own.
    const auto opener = configuration.opener.lock();
    createPage(opener ? opener->m_impl->profileKind : wantedProfile());
}

WKWebView::Impl::~Impl()
{
    cancelDialogs(TellView::No);
    failEvaluations("The view has gone.");
    for (const auto& subview : subviews) {
        if (auto* widget = widgetOf(*subview))
            widget->setParent(nullptr);
    }
    page.reset();
    // In the application's window it stays, empty.
    if (container && !container->parentWidget())
        delete container;
    else
        delete engineView;
}

ProfileKind WKWebView::Impl::wantedProfile() const
{
    return { .userAgent = userAgent, .acceptsEveryCertificate = view.acceptsEveryCertificate() };
}

void WKWebView::Impl::createPage(const ProfileKind& kind)
{
    using Policy = QWebEnginePage::PermissionPolicy;
    profileKind = kind;
    isPageEnding = false;
    isPageDead = false;
    auto next = std::make_unique<Page>(*this, profileOf(kind));
    auto* created = next.get();
    apply(configuration, *created->settings());
    created->setBackgroundColor(background);
    if (engineView)
        engineView->setPage(created);
    page = std::move(next);
    created->setWebChannel(messages.channel());
    giveUserContent();
    const auto connect = [&](auto signal, auto handler) { QObject::connect(created, signal, created, handler); };
    connect(&QWebEnginePage::loadingChanged, [this](const QWebEngineLoadingInfo& info) { loadingChanged(info); });
    connect(&QWebEnginePage::loadProgress, [this](int percent) { progressChanged(percent); });
    connect(&QWebEnginePage::renderProcessTerminated, [this] { processTerminated(); });
    connect(&QWebEnginePage::certificateError,
        [this](const QWebEngineCertificateError& error) { certificateFailed(error); });
    connect(&QWebEnginePage::newWindowRequested, [this](QWebEngineNewWindowRequest& request) { openWindow(request); });
    connect(&QWebEnginePage::windowCloseRequested, [this] { closeWindow(); });
    connect(
        &QWebEnginePage::featurePermissionRequested, [created](const QUrl& origin, QWebEnginePage::Feature feature) {
            created->setFeaturePermission(origin, feature, Policy::PermissionDeniedByUser);
        });
    QObject::connect(created->profile(), &QWebEngineProfile::downloadRequested, created,
        [this, created](const QWebEngineDownloadRequest* download) {
            if (download->page() == created)
                downloads();
        });
    connect(&QWebEnginePage::authenticationRequired, [this](const QUrl& url, QAuthenticator* authenticator) {
        authenticate(NSURLAuthenticationMethodHTTPBasic, url, *authenticator);
    });
}

void WKWebView::Impl::end()
{
    hasEnded = true;
    // Whatever waits for its turn comes too late.
    ++loads;
    loadStage = LoadStage::None;
    isLeaving = false;
    cancelDialogs(TellView::Yes);
    failEvaluations("The view has ended.");
    endPage({});
}

// At a later turn of the main loop: the page may be in the middle of a call to us, and a view that is dropped meanwhile
// needs no other page.
void WKWebView::Impl::endPage(std::chrono::milliseconds delay)
{
    dispatchToMainAfter(delay, [weak = view.weak_from_this()] {
        const auto self = weak.lock();
        if (!self)
            return;
        // A loop within a call, such as a dialog's of the application's own.
        if (EngineCall::isUnderWay())
            self->m_impl->endPage(std::chrono::milliseconds(20));
        else
            self->m_impl->page.reset();
    });
}

void WKWebView::Impl::progressChanged(int percent)
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return;
    progress = percent / 100.0;
    view.progressHasChanged();
}

namespace {

// Keeps the wheel from changing the size of the content.
class WheelFilter final : public QObject {
public:
    using QObject::QObject;

private:
    bool eventFilter(QObject*, QEvent* event) override
    {
        return event->type() == QEvent::Wheel
            && static_cast<QWheelEvent*>(event)->modifiers().testFlag(Qt::ControlModifier);
    }
};

} // namespace

// The engine gives pages of other sites other widgets.
void WKWebView::Impl::followWheel()
{
    auto* widget = engineView ? engineView->focusProxy() : nullptr;
    if (!widget)
        return;
    delete widget->findChild<QObject*>("tqwheel", Qt::FindDirectChildrenOnly);
    if (view.m_scrollView.pinchGestureRecognizerEnabled)
        return;
    auto* filter = new WheelFilter(widget);
    filter->setObjectName("tqwheel");
    widget->installEventFilter(filter);
}

// The engine's own menu, with its inspector.
void WKWebView::Impl::showContextMenu(const QPoint& place)
{
    auto* menu = engineView->createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction("Inspect Element", engineView, [this] {
        auto* inspector = new QWebEngineView;
        inspector->setAttribute(Qt::WA_DeleteOnClose);
        inspector->page()->setInspectedPage(page.get());
        inspector->resize(900, 600);
        inspector->show();
        page->triggerAction(QWebEnginePage::InspectElement);
    });
    menu->popup(engineView->mapToGlobal(place));
}

WKWebView::WKWebView(Token) { }

WKWebView::~WKWebView() = default;

bool WKWebView::isDisplayAvailable()
{
    if (qobject_cast<QApplication*>(QCoreApplication::instance()))
        return true;
    NSLog(TQWBLogLevel::Error, "a web view needs a QApplication, and there is none");
    return false;
}

void WKWebView::initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    assert(isMainThread());
    m_frame = frame;
    m_configuration = std::move(configuration);
    m_impl = std::make_unique<Impl>(*this, *m_configuration);
}

void WKWebView::loadRequest(const NSMutableURLRequest& request)
{
    assert(isMainThread());
    if (!request.URL || hasEnded())
        return;
    ++m_impl->loads;
    m_impl->load(request.URL->absoluteString());
}

// The engine asks about the certificate of any server when it meets it, and goes on with what it was doing.
void WKWebView::expectServers(std::vector<std::string>) { }

void WKWebView::end()
{
    assert(isMainThread());
    m_navigationDelegate.clear();
    if (!hasEnded())
        m_impl->end();
}

bool WKWebView::hasEnded() const { return m_impl->hasEnded; }

bool WKWebView::isLeavingPage() const { return m_impl->isLeaving; }

const OptionalText& WKWebView::pageOrigin() const { return m_impl->pageOrigin; }

OptionalText WKWebView::URL() const
{
    const auto url = m_impl->page ? m_impl->page->url() : QUrl();
    return url.isEmpty() ? std::nullopt : OptionalText(url.toEncoded().toStdString());
}

double WKWebView::estimatedProgress() const { return m_impl->progress; }

void WKWebView::setCustomUserAgent(const std::string& userAgent)
{
    m_impl->userAgent = toQt(userAgent);
    // Later the next load brings it.
    if (!m_impl->loads && !m_impl->hasPage)
        m_impl->createPage(m_impl->wantedProfile());
}

void WKWebView::setInspectable(bool inspectable)
{
    if (m_impl->engineView)
        m_impl->engineView->setContextMenuPolicy(inspectable ? Qt::CustomContextMenu : Qt::DefaultContextMenu);
}

void WKWebView::setBackgroundColor(UIColor color)
{
    m_impl->background = toQt(color);
    if (m_impl->page)
        m_impl->page->setBackgroundColor(m_impl->background);
    // The engine's view is there with the first page.
    if (m_impl->container) {
        auto palette = m_impl->container->palette();
        palette.setColor(QPalette::Window, m_impl->background);
        m_impl->container->setPalette(palette);
    }
}

void WKWebView::setScrollView(const UIScrollView& scrollView)
{
    m_scrollView = scrollView;
    m_impl->giveUserContent();
    if (m_impl->page)
        m_impl->page->runJavaScript(scrollScript(scrollView), QWebEngineScript::ApplicationWorld);
}

void WKWebView::addSubview(const std::shared_ptr<UIView>& view)
{
    if (!view)
        return;
    m_impl->subviews.push_back(view);
    auto* widget = widgetOf(*view);
    if (!widget || !m_impl->container)
        return;
    widget->setParent(m_impl->container);
    widget->setVisible(!view->hidden());
    widget->raise();
}

void WKWebView::bringSubviewToFront(const std::shared_ptr<UIView>& view)
{
    auto* widget = view ? widgetOf(*view) : nullptr;
    if (widget && widget->parentWidget() == m_impl->container)
        widget->raise();
}

void* WKWebView::nativeHandle() const { return m_impl->container; }

QWidget* nativeView(const WKWebView& view) { return static_cast<QWidget*>(view.nativeHandle()); }

} // namespace tq
