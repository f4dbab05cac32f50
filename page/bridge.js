// The page's half of the calls between a page and the application that shows it. README.md beside this file tells how
// to use it and what the messages are; bridge.d.ts declares what is exported.

const explanations = {
    "no-application": "the page is not shown by an application",
    "no-method": "the application has no such method",
    "bad-argument": "the method takes another argument",
    failed: "the method has failed",
    unreadable: "the answer cannot be read",
    timeout: "no result came in time",
    left: "the page was left while it waited, and results may have been lost",
};
const probe = "_hasJavascriptMethod";
const deepest = 512; // levels of a message that the application reads
const longestTimer = 2 ** 31 - 1; // milliseconds; a longer one would fire at once

// Results of calls that an earlier page of the view has made may still arrive: no name is used by two pages.
const callbackPrefix = "_tq" + Math.random().toString(36).slice(2) + "_";
let lastCallback = 0;

// Common to all copies of this script in the page, since native code finds only one of them:
// name -> function(answer, list of arguments), which returns a Promise of its end.
const functions = (window[Symbol.for("TQWhiteBoardLib.pageFunctions")] ??= new Map());

export class NativeCallError extends Error {
    constructor(method, reason, message = `${method}: ${explanations[reason]}`) {
        super(message);
        this.name = "NativeCallError";
        this.method = method;
        this.reason = reason;
    }
}

export function isInApplication() {
    return window._dswk === true;
}

// Page calls native

// Whether a JSON text has more levels than that.
function isDeeper(text, most) {
    let depth = 0;
    for (let at = 0; at < text.length; ++at) {
        const mark = text[at];
        if (mark === '"')
            at = endOfText(text, at);
        else if (mark === "]" || mark === "}")
            --depth;
        else if ((mark === "[" || mark === "{") && ++depth > most)
            return true;
    }
    return false;
}

// The place of the quotation mark that ends the one at the start: an odd number of backslashes makes it another.
function endOfText(text, start) {
    for (let end = start; ; ) {
        end = text.indexOf('"', end + 1);
        let before = end;
        while (text[before - 1] === "\\")
            --before;
        if ((end - before) % 2 === 0)
            return end;
    }
}

/** The JSON text of a message, such that the application can read it. */
function write(message) {
    let text = JSON.stringify(message);
    // What is half of a character alone is written as an escape, which is no character to the application.
    if (text.includes("\\ud"))
        text = text.replace(/\\(?:\\|ud[89a-f][0-9a-f]{2})/g, (escape) => (escape === "\\\\" ? escape : "\ufffd"));
    if (text.length > 2 * deepest && isDeeper(text, deepest))
        throw new TypeError(`what is sent to the application lies deeper than ${deepest} levels`);
    return text;
}

function ask(method, message) {
    if (!isInApplication())
        throw new NativeCallError(method, "no-application");
    // What shows the application that its own page asks, if it wants to see that.
    message._tqframe = window._tqframe;
    const text = window.prompt("_dsbridge=" + method, write(message));
    if (text === null)
        throw new NativeCallError(method, "failed");
    let answer = null;
    try {
        answer = JSON.parse(text);
    } catch {
        // Reported below.
    }
    if (typeof answer?.code !== "number")
        throw new NativeCallError(method, "unreadable");
    if (answer.code !== 0 && typeof answer.data === "string" && answer.data !== "")
        throw new NativeCallError(method, "bad-argument", answer.data);
    return answer;
}

export function callSync(method, argument) {
    const answer = ask(method, { data: argument });
    if (answer.code !== 0)
        throw new NativeCallError(method, "no-method");
    return answer.data;
}

// The asynchronous calls that are not over: callback -> the function that is told why no result will come any more.
const calls = new Map();

/**
 * Starts an asynchronous call; `take` gets every result, or the error in its place, `fail` the error that ends the call.
 * Returns the name of the global function that `take` becomes.
 */
function start(method, argument, take, fail) {
    const callback = callbackPrefix + ++lastCallback;
    window[callback] = (value, reason) => take(value, reason && new NativeCallError(method, reason));
    calls.set(callback, (reason) => fail(new NativeCallError(method, reason)));
    try {
        // It says whether a result is still to come; older ones have to be asked whether there is such a method.
        const { code, pending } = ask(method, { data: argument, _dscbstub: callback, _tq: 1 });
        if (code !== 0 && !(pending ?? hasNativeMethod(method, "asyn")))
            throw new NativeCallError(method, "no-method");
    } catch (error) {
        drop(callback);
        throw error;
    }
    return callback;
}

function drop(callback) {
    delete window[callback];
    calls.delete(callback);
}

// While a page is put away, results go to the page that is there in its place.
window.addEventListener("pageshow", (event) => {
    for (const [callback, fail] of event.persisted ? [...calls] : []) {
        drop(callback);
        fail("left");
    }
});

export function callAsync(method, argument, { timeout = Infinity } = {}) {
    return new Promise((resolve, reject) => {
        if (typeof timeout !== "number" || !(timeout >= 0))
            throw new RangeError("timeout must be a number of milliseconds");
        const callback = start(
            method,
            argument,
            (value, error) => {
                drop(callback);
                forget(callback);
                error ? reject(error) : resolve(value);
            },
            (error) => {
                forget(callback);
                reject(error);
            },
        );
        if (timeout < Infinity) {
            expect(callback, timeout, () => {
                drop(callback);
                reject(new NativeCallError(method, "timeout"));
            });
        }
    });
}

// The deadlines of all calls share one timer: every timer that is pending in a page slows all of its calls.

const deadlines = new Map(); // callback -> {due, expire}
let timer = 0;
let timerDue = Infinity;

function expect(callback, timeout, expire) {
    const due = performance.now() + timeout;
    deadlines.set(callback, { due, expire });
    if (due < timerDue)
        setTimer(due);
}

function forget(callback) {
    if (deadlines.delete(callback) && deadlines.size === 0)
        setTimer(Infinity);
}

function setTimer(due) {
    clearTimeout(timer);
    timerDue = due;
    if (due < Infinity)
        timer = setTimeout(expireDue, Math.min(Math.ceil(due - performance.now()), longestTimer));
}

function expireDue() {
    const now = performance.now();
    let next = Infinity;
    for (const [callback, { due, expire }] of deadlines) {
        if (due <= now) {
            deadlines.delete(callback);
            expire();
        } else {
            next = Math.min(next, due);
        }
    }
    setTimer(next);
}

// Which result is the last shows when the script that brought it has ended: its function is deleted then. So results
// are held until the microtask that follows.

let held = [];

function hold(call, value, error) {
    if (held.length === 0)
        queueMicrotask(deliverHeld);
    ++call.held;
    held.push({ call, value, error });
}

function deliverHeld() {
    const results = held;
    held = [];
    for (const { call, value, error } of results) {
        const isLast = --call.held === 0 && !(call.name in window);
        if (isLast)
            calls.delete(call.name);
        tell(call, value, isLast, error);
    }
}

function tell(call, value, isLast, error) {
    if (call.isAbandoned)
        return;
    try {
        call.callback(value, isLast, error);
    } catch (thrown) {
        console.error(thrown);
    }
}

export function callWithCallback(method, argument, callback) {
    const call = { name: "", callback, held: 0, isAbandoned: false };
    call.name = start(
        method,
        argument,
        (value, error) => hold(call, value, error),
        (error) => tell(call, undefined, true, error),
    );
    return () => {
        call.isAbandoned = true;
        drop(call.name);
    };
}

class ResultStream {
    #results = []; // {value}, or {error} as the last
    #waiting = []; // those who have asked for a result that is not there yet
    #isOver = false;
    #abandon;

    constructor(method, argument) {
        this.#abandon = callWithCallback(method, argument, (value, isLast, error) => {
            // Undefined is no result but the end without one.
            if (error !== undefined || value !== undefined)
                this.#add({ value, error });
            if (error !== undefined)
                this.#abandon();
            if (isLast || error !== undefined)
                this.#finish();
        });
    }

    async next() {
        if (this.#results.length)
            return resultOf(this.#results.shift());
        if (this.#isOver)
            return { value: undefined, done: true };
        return new Promise((resolve) => this.#waiting.push(resolve)).then(resultOf);
    }

    async return(value) {
        this.#abandon();
        this.#results = [];
        this.#finish();
        return { value, done: true };
    }

    [Symbol.asyncIterator]() {
        return this;
    }

    #add(result) {
        if (this.#waiting.length)
            this.#waiting.shift()(result);
        else
            this.#results.push(result);
    }

    #finish() {
        this.#isOver = true;
        for (const resolve of this.#waiting.splice(0))
            resolve({ done: true });
    }
}

function resultOf({ value, error, done = false }) {
    if (error !== undefined)
        throw error;
    return { value, done };
}

export function stream(method, argument) {
    return new ResultStream(method, argument);
}

export function hasNativeMethod(name, type = "all") {
    return isInApplication() && ask("_dsb.hasNativeMethod", { data: { name, type } }).data === 1;
}

export function closePage() {
    callSync("_dsb.closePage", {});
}

export function disableDialogBlock(disable = true) {
    callSync("_dsb.disableJavascriptDialogBlock", { disable });
}

// Native calls page

function add(name, fn, run) {
    if (typeof name !== "string" || typeof fn !== "function")
        throw new TypeError("a page function has a text for a name, and is a function");
    if (name === probe)
        throw new TypeError(`${probe} is the name of the question whether a function exists`);
    functions.set(name, run);
}

export function register(name, fn) {
    add(name, fn, async (answer, list) => answer.end(await fn(...list)));
}

export function registerStream(name, fn) {
    add(name, fn, async (answer, list) => fn(answer, ...list));
}

export function unregister(name) {
    functions.delete(name);
}

export function ready() {
    if (isInApplication())
        callSync("_dsb.dsinit", {});
}

function answerTo(id) {
    let isOver = false;
    const send = (data, complete) => {
        if (isOver)
            return;
        callSync("_dsb.returnValue", { id, data, complete });
        isOver = complete;
    };
    return Object.assign((value) => send(value, false), { end: (value) => send(value, true) });
}

function argumentsOf(text) {
    try {
        const list = JSON.parse(text);
        return Array.isArray(list) ? list : [];
    } catch {
        return [];
    }
}

function runOf(method) {
    if (method === probe)
        return async (answer, [name]) => answer.end(functions.has(name));
    return functions.get(method) ?? (async (answer) => {
        console.warn(`The application calls ${method}, which is not registered.`);
        answer.end();
    });
}

window._handleMessageFromNative = (message) => {
    if (typeof message?.method !== "string" || !Number.isInteger(message.callbackId)) {
        console.warn("A call from the application cannot be read.");
        return;
    }
    const answer = answerTo(message.callbackId);
    runOf(message.method)(answer, argumentsOf(message.data))
        .catch((error) => {
            console.error(`The page function ${message.method} has failed.`, error);
            answer.end(); // the application is not left waiting
        })
        .catch(console.error);
};
