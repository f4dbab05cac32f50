#include "CallbackName.h"

#include <algorithm>
#include <array>

namespace tq {

namespace {

// No function can have these names, and a script that calls one is no script: it would spoil all others of its batch.
constexpr auto kReservedWords = std::to_array<std::string_view>(
    { "break", "case", "catch", "class", "const", "continue", "debugger", "default", "delete", "do", "else", "enum",
        "export", "extends", "false", "finally", "for", "function", "if", "import", "in", "instanceof", "new", "null",
        "return", "super", "switch", "this", "throw", "true", "try", "typeof", "var", "void", "while", "with" });

// What an engine itself puts into every window: functions that run, load, send or show what they are given, and objects
// that lead to such functions. None of them is a function of the page. (Classes are not among them where a mere call of
// one fails.)
constexpr auto kEngineNames = std::to_array<std::string_view>({ "AggregateError", "Array", "Atomics", "BigInt",
    "Boolean", "CSS", "Date", "Document", "Error", "EvalError", "GPUBufferUsage", "GPUColorWrite", "GPUMapMode",
    "GPUShaderStage", "GPUTextureUsage", "HTMLDocument", "Intl", "Iterator", "JSON", "Math", "Notification", "Number",
    "Object", "Promise", "Proxy", "PushManager", "RTCPeerConnection", "RTCRtpReceiver", "RTCRtpSender", "RangeError",
    "ReferenceError", "Reflect", "RegExp", "ShadowRealm", "String", "SuppressedError", "Symbol", "SyntaxError",
    "Temporal", "TypeError", "URIError", "URL", "WebAssembly", "XMLDocument", "addEventListener", "alert", "atob",
    "blur", "btoa", "caches", "cancelAnimationFrame", "cancelIdleCallback", "captureEvents", "chrome", "clearImmediate",
    "clearInterval", "clearTimeout", "clientInformation", "close", "confirm", "console", "cookieStore", "crashReport",
    "createImageBitmap", "crypto", "customElements", "decodeURI", "decodeURIComponent", "dispatchEvent", "document",
    "documentPictureInPicture", "encodeURI", "encodeURIComponent", "escape", "event", "external", "fence", "find",
    "focus", "frameElement", "frames", "getComputedStyle", "getScreenDetails", "getSelection", "globalThis",
    "hasOwnProperty", "history", "indexedDB", "isFinite", "isNaN", "isPrototypeOf", "launchQueue", "localStorage",
    "locationbar", "matchMedia", "menubar", "moveBy", "moveTo", "navigation", "openDatabase", "opener", "parent",
    "parseFloat", "parseInt", "performance", "personalbar", "print", "prompt", "propertyIsEnumerable", "qt",
    "queryLocalFonts", "queueMicrotask", "releaseEvents", "removeEventListener", "reportError", "requestAnimationFrame",
    "requestIdleCallback", "resizeBy", "resizeTo", "scheduler", "screen", "scroll", "scrollBy", "scrollTo",
    "scrollbars", "self", "sessionStorage", "sharedStorage", "showDirectoryPicker", "showModalDialog",
    "showOpenFilePicker", "showSaveFilePicker", "speechSynthesis", "statusbar", "stop", "structuredClone", "styleMedia",
    "toLocaleString", "toString", "toolbar", "top", "trustedTypes", "unescape", "valueOf", "viewport", "visualViewport",
    "webkit", "webkitCancelAnimationFrame", "webkitCancelRequestAnimationFrame", "webkitConvertPointFromNodeToPage",
    "webkitConvertPointFromPageToNode", "webkitIndexedDB", "webkitMediaStream", "webkitNotifications",
    "webkitRTCPeerConnection", "webkitRequestAnimationFrame", "webkitRequestFileSystem",
    "webkitResolveLocalFileSystemURL", "webkitStorageInfo", "webkitURL", "window" });

// Members that run or load what they are given, put it into the document, or lead on to what does.
constexpr auto kDangerousMembers = std::to_array<std::string_view>(
    { "Function", "__defineGetter__", "__defineSetter__", "__lookupGetter__", "__lookupSetter__", "__proto__",
        "addModule", "after", "append", "appendChild", "appendData", "assign", "before", "constructor",
        "contentDocument", "contentWindow", "createContextualFragment", "createObjectURL", "defaultView", "eval",
        "execCommand", "execScript", "fetch", "fetchLater", "globalEval", "importScripts", "insertAdjacentElement",
        "insertAdjacentHTML", "insertAdjacentText", "insertData", "insertNode", "location", "navigate", "navigator",
        "open", "ownerDocument", "parseHTMLUnsafe", "postMessage", "prepend", "prototype", "replace", "replaceChildren",
        "replaceData", "replaceWith", "requestPermission", "sendBeacon", "serviceWorker", "setHTML", "setHTMLUnsafe",
        "setImmediate", "setInterval", "setTimeout", "surroundContents", "write", "writeln" });

static_assert(std::ranges::is_sorted(kReservedWords));
static_assert(std::ranges::is_sorted(kEngineNames));
static_assert(std::ranges::is_sorted(kDangerousMembers));

template <class Names> bool isAmong(const Names& names, std::string_view name)
{
    return std::ranges::binary_search(names, name);
}

bool isIdentifier(std::string_view name)
{
    constexpr std::string_view kCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz$_";
    return !name.empty() && (name[0] < '0' || name[0] > '9') && name.find_first_not_of(kCharacters) == name.npos;
}

bool isWindow(std::string_view name) { return name == "window" || name == "self" || name == "globalThis"; }

} // namespace

bool isCallable(std::string_view callbackName)
{
    if (isAmong(kReservedWords, callbackName.substr(0, callbackName.find('.'))))
        return false;
    bool isGlobal = true;
    for (auto rest = callbackName;;) {
        const auto dot = rest.find('.');
        const auto name = rest.substr(0, dot);
        const bool isLast = dot == rest.npos;
        if (!isIdentifier(name) || isAmong(kDangerousMembers, name))
            return false;
        const bool isStillGlobal = isGlobal && !isLast && isWindow(name);
        if (isGlobal && !isStillGlobal && isAmong(kEngineNames, name))
            return false;
        if (isLast)
            return true;
        isGlobal = isStillGlobal;
        rest.remove_prefix(dot + 1);
    }
}

} // namespace tq
