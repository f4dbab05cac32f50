// The page half of the call protocol between the room page and the application around it.
//
// A call is prompt("_dsbridge=" + name, argument message): the argument message is a JSON text {"data": argument}, and
// the prompt's answer is a JSON text {"code": 0, "data": value}; code -1 means that no native method answered. A call
// with an answer later also carries "_dscbstub", the name of a global function that gets the values one by one; the
// application deletes that function after the last. The application sets window._dswk before any script of the page
// runs. Without it there is nobody to ask, and no prompt is ever shown.

const noAnswer = Object.freeze({ code: -1, data: "" });
let nextCallback = 1;

/** True when the page runs inside an application's view. */
export function isInApplication() {
    return window._dswk === true;
}

function send(name, message) {
    if (!isInApplication())
        return noAnswer;
    try {
        return JSON.parse(window.prompt("_dsbridge=" + name, JSON.stringify(message))) ?? noAnswer;
    } catch {
        return noAnswer;
    }
}

/** Calls a native method and returns its answer, {code, data}. */
export function callSync(name, argument) {
    return send(name, { data: argument ?? null });
}

/** Calls a native method whose values come later; `callback` gets each. Returns the first answer, as callSync does. */
export function callAsync(name, argument, callback) {
    if (!isInApplication())
        return noAnswer;
    const stub = "_tqcb" + nextCallback++;
    window[stub] = callback;
    return send(name, { data: argument ?? null, _dscbstub: stub });
}

/** Tells the application of an event of the room. */
export function report(event, details = {}) {
    callSync("TQJSBridge." + event, details);
}
