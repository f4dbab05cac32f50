#include "NavigationErrors.h"

#include <QStringList>

namespace tq {

namespace {

// Numbers of the engine's, which Qt hands on as they are.
NSURLErrorCode codeOf(int code)
{
    switch (code) {
    case -3:
        return NSURLErrorCancelled;
    case -7:
    case -118:
        return NSURLErrorTimedOut;
    case -105:
    case -137:
        return NSURLErrorCannotFindHost;
    case -102:
    case -104:
    case -106:
    case -108:
    case -109:
        return NSURLErrorCannotConnectToHost;
    case -100:
    case -101:
    case -103:
    case -324:
    case -354:
    case -355:
        return NSURLErrorNetworkConnectionLost;
    case -6:
        return NSURLErrorFileDoesNotExist;
    case -300:
    case -301:
    case -302:
    case -312:
        return NSURLErrorUnsupportedURL;
    case -310:
        return NSURLErrorHTTPTooManyRedirects;
    case -107:
    case -113:
        return NSURLErrorSecureConnectionFailed;
    case -320:
    case -321:
    case -370:
        return NSURLErrorBadServerResponse;
    default:
        // Those of certificates.
        return code <= -200 && code > -300 ? NSURLErrorServerCertificateUntrusted : NSURLErrorUnknown;
    }
}

// Addresses of other kinds the engine gives to nobody.
bool isKnown(const QString& scheme)
{
    return QStringList{ "http", "https", "file", "data", "about", "blob", "qrc" }.contains(scheme);
}

} // namespace

NSError navigationError(const QWebEngineLoadingInfo& info)
{
    if (info.status() == QWebEngineLoadingInfo::LoadStoppedStatus && !isKnown(info.url().scheme()))
        return urlError(NSURLErrorUnsupportedURL, "The address is of no kind that can be loaded.");
    const auto text = info.errorString().toStdString();
    return urlError(codeOf(info.errorCode()), text.empty() ? "The load has failed." : text);
}

} // namespace tq
