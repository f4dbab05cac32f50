// The page's half of the calls between a page and the application that shows it. README.md beside this file tells how
// to use it and what the messages are; bridge.d.ts declares what is exported.

const explanations = {
    "no-application": "the page is not shown by an application",
    "no-method": "the application has no such method",
    "bad-argument": "the method takes another argument",
    failed: "the method has failed",
    unreadable: "the answer cannot be read",
    timeout: "no result came in time",
    left: "the page was left, or refused, while it waited, and results may have been lost",
};
const probe = "_hasJavascriptMethod";
const deepest = 512; // levels of a message that the application reads
const longestTimer = 2 ** 31 - 1; // milliseconds; a longer one would fire at once

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

// What the application says to a call: {code, data}, or the error in its place.
function answerOf(method, answer) {
    if (answer === null)
        throw new NativeCallError(method, "failed");
    if (typeof answer?.code !== "number")
        throw new NativeCallError(method, "unreadable");
    if (answer.failed)
        throw new NativeCallError(method, "failed", `${method}: ${answer.data}`);
    if (answer.code !== 0 && typeof answer.data === "string" && answer.data !== "")
        throw new NativeCallError(method, "bad-argument", answer.data);
    return answer;
}

/** A call that stops the page until it is answered. */
function ask(method, message) {
    return answerOf(method, exchange(method, message));
}

function exchange(method, message) {
    if (!isInApplication())
        throw new NativeCallError(method, "no-application");
    // What shows the application that its own page asks, if it wants to see that.
    message._tqframe = window._tqframe;
    const text = write(message);
    port?.send(); // calls that were made before arrive before
    const answer = window.prompt("_dsbridge=" + method, text);
    try {
        return JSON.parse(answer);
    } catch {
        return undefined; // no answer can be read
    }
}

export function callSync(method, argument) {
    const answer = ask(method, { data: argument });
    if (answer.code !== 0)
        throw new NativeCallError(method, "no-method");
    return answer.data;
}

// Calls that do not stop the page travel as messages, where the application takes them: those of one task in one message,
// which waits until the message before is answered.

class Port {
    #handler;
    #head;
    #lines = [];
    #unanswered = 0; // messages; more than one only where a call that stops the page has come between
    #isSending = false;
    #next = 0; // the batch of results that is to come
    #early = new Map(); // batches that have overtaken others

    constructor(handler, { port, mark }) {
        this.#handler = handler;
        this.#head = [port, mark];
    }

    /** @param id the number of the call; none where nobody waits for a result. */
    add(id, method, message) {
        this.#push(`${id ?? ""}\t${JSON.stringify(method)}\t${write(message)}`);
    }

    giveUp(id) {
        this.#push(`-${id}`);
    }

    #push(line) {
        this.#lines.push(line);
        if (this.#unanswered || this.#isSending)
            return;
        this.#isSending = true;
        queueMicrotask(() => {
            this.#isSending = false;
            if (!this.#unanswered)
                this.send();
        });
    }

    send() {
        if (!this.#lines.length)
            return;
        ++this.#unanswered;
        const text = `${this.#head.join("\t")}\n${this.#lines.join("\n")}`;
        this.#lines = [];
        this.#handler.postMessage(text).then(
            (batch) => {
                --this.#unanswered;
                this.take(batch);
                if (!this.#unanswered)
                    this.send();
            },
            () => this === port && closePort(),
        );
    }

    take(given) {
        const [number, results, mark] = typeof given === "string" ? JSON.parse(given) : given;
        this.#head[1] = mark || this.#head[1];
        this.#early.set(number, results);
        for (let batch; (batch = this.#early.get(this.#next)); ++this.#next) {
            this.#early.delete(this.#next);
            for (const [id, isLast, answer] of batch)
                this.#give(id, isLast, answer);
        }
    }

    // What is large is fetched by a call that stops the page, since nothing brings it sooner.
    #give(id, isLast, answer) {
        const isLarge = answer?.fetch === true;
        if (calls.has(id))
            calls.get(id).take(isLarge ? exchange("_tq.fetch", { data: { port: this.#head[0], call: id } }) : answer, isLast);
        else if (isLarge)
            this.giveUp(id);
    }
}

let port; // undefined until one is wanted

// What the application calls with results that come later than the answer to a message. No name is used by two pages:
// results of an earlier page of the view may still arrive.
const prefix = "_tq" + Math.random().toString(36).slice(2) + "_";
const receiver = prefix + "results";
window[receiver] = (batch) => port?.take(batch);

// Takes messages; undefined where the application takes none.
function messageHandler() {
    return window.webkit?.messageHandlers?._tqcalls;
}

/** The port, if there is one; asked for when it is wanted first. */
function openPort() {
    const handler = port ? undefined : messageHandler();
    const opened = handler && ask("_tq.open", { data: { receiver } }).data;
    if (opened?.port)
        port = new Port(handler, opened);
    return port;
}

function closePort() {
    port = undefined;
    for (const id of [...calls.keys()]) {
        const call = calls.get(id); // whoever is told may abandon others
        call?.fail(new NativeCallError(call.method, "left"));
    }
}

// While a page is put away, results go to the page that is there in its place.
window.addEventListener("pageshow", (event) => event.persisted && closePort());

// The asynchronous calls that are not over: number -> {method, take(answer, isLast), fail(error)}
const calls = new Map();
let lastCall = 0;

/**
 * Starts an asynchronous call; `tell(value, isLast, error)` gets every result, or the error in its place, never before
 * this has returned. Returns a function that abandons the call.
 */
function start(method, argument, tell) {
    if (!isInApplication())
        throw new NativeCallError(method, "no-application");
    const id = ++lastCall;
    const isByPrompt = !openPort();
    const end = () => {
        calls.delete(id);
        if (isByPrompt)
            delete window[prefix + id];
    };
    const call = {
        method,
        take(answer, isLast) {
            if (isLast)
                end();
            try {
                const { code, data } = answerOf(method, answer);
                if (code !== 0)
                    throw new NativeCallError(method, "no-method");
                report(tell, data, isLast);
            } catch (error) {
                report(tell, undefined, isLast, error);
            }
        },
        fail(error) {
            end();
            report(tell, undefined, true, error);
        },
    };
    if (isByPrompt) {
        startByPrompt(id, argument, call, end);
    } else {
        port.add(id, method, { data: argument });
        calls.set(id, call);
    }
    return () => {
        if (calls.has(id))
            port?.giveUp(id);
        end();
    };
}

// Whoever is told may throw what they like.
function report(tell, ...result) {
    try {
        tell(...result);
    } catch (thrown) {
        console.error(thrown);
    }
}

// Without messages a call costs a prompt, and its results come by a global function.
function startByPrompt(id, argument, call, end) {
    const { method } = call;
    window[prefix + id] = (data, reason) =>
        hold(id, reason === "failed" ? { code: -1, data, failed: true } : reason ? undefined : { code: 0, data });
    calls.set(id, call);
    try {
        // It says whether a result is still to come; older applications have to be asked whether there is such a method.
        const { code, pending, complete, data } = ask(method, { data: argument, _dscbstub: prefix + id, _tq: 1 });
        if (code !== 0 && !(pending ?? hasNativeMethod(method, "asyn")))
            throw new NativeCallError(method, "no-method");
        if (complete)
            queueMicrotask(() => calls.get(id)?.take({ code, data }, true));
    } catch (error) {
        if (error.reason === undefined) {
            end();
            throw error;
        }
        queueMicrotask(() => calls.get(id)?.fail(error));
    }
}

// Which result is the last shows when the script that brought it has ended: its function is deleted then. So results
// are held until the microtask that follows.

let held = []; // {id, answer}

function hold(id, answer) {
    if (held.push({ id, answer }) === 1)
        queueMicrotask(takeHeld);
}

function takeHeld() {
    const results = held;
    held = [];
    const last = new Map(results.map(({ id }, index) => [id, index]));
    for (const [index, { id, answer }] of results.entries())
        calls.get(id)?.take(answer, last.get(id) === index && !(prefix + id in window));
}

/**
 * The same with a limit of time until the first result, and a signal that gives the call up; either is told as the last
 * error.
 */
function begin(method, argument, { timeout = Infinity, signal } = {}, tell) {
    if (typeof timeout !== "number" || !(timeout >= 0))
        throw new RangeError("timeout must be a number of milliseconds");
    signal?.throwIfAborted();
    const stop = start(method, argument, (value, isLast, error) => {
        forget(stop);
        if (isLast)
            signal?.removeEventListener("abort", aborted);
        tell(value, isLast, error);
    });
    const abandon = () => {
        stop();
        forget(stop);
        signal?.removeEventListener("abort", aborted);
    };
    const fail = (error) => {
        abandon();
        report(tell, undefined, true, error);
    };
    const aborted = () => fail(signal.reason);
    signal?.addEventListener("abort", aborted);
    if (timeout < Infinity)
        expect(stop, timeout, () => fail(new NativeCallError(method, "timeout")));
    return abandon;
}

export function callAsync(method, argument, options) {
    return new Promise((resolve, reject) => {
        const abandon = begin(method, argument, options, (value, isLast, error) => {
            isLast || abandon();
            error === undefined ? resolve(value) : reject(error);
        });
    });
}

// The deadlines of all calls share one timer: every timer that is pending in a page slows all of its calls.

const deadlines = new Map(); // what abandons the call -> {due, expire}
let timer = 0;
let timerDue = Infinity;

function expect(call, timeout, expire) {
    const due = performance.now() + timeout;
    deadlines.set(call, { due, expire });
    if (due < timerDue)
        setTimer(due);
}

function forget(call) {
    if (deadlines.delete(call) && deadlines.size === 0)
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
    for (const [call, { due, expire }] of deadlines) {
        if (due <= now) {
            deadlines.delete(call);
            expire();
        } else {
            next = Math.min(next, due);
        }
    }
    setTimer(next);
}

export function callWithCallback(method, argument, callback) {
    return start(method, argument, callback);
}

class ResultStream {
    #results = []; // {value}, or {error} as the last
    #waiting = []; // those who have asked for a result that is not there yet
    #isOver = false;
    #abandon;
    #tell;

    constructor(method, argument, options, tell) {
        this.#tell = tell;
        this.#abandon = begin(method, argument, options, (value, isLast, error) => {
            // Undefined is no result but the end without one.
            if (error !== undefined || value !== undefined)
                this.#add({ value, error });
            if (error !== undefined)
                this.#abandon();
            if (isLast || error !== undefined)
                this.#finish();
            this.#tell?.(value, isLast, error);
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
        this.#tell?.(undefined, true);
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

export function stream(method, argument, options) {
    return new ResultStream(method, argument, options);
}

// What the method of a proxy returns: a Promise of the first result, which is the only one unless a loop over all of them
// has begun by then.
function invoke(method, argument, options) {
    let results;
    let isLoop = false;
    let hasResult = false;
    const first = new Promise((resolve, reject) => {
        results = new ResultStream(method, argument, options, (value, isLast, error) => {
            error === undefined ? resolve(value) : reject(error);
            if (!isLoop && !isLast)
                results.return();
            hasResult = true;
        });
    });
    first[Symbol.asyncIterator] = () => {
        if (hasResult && !isLoop)
            throw new TypeError(`${method}: a loop over the results begins before there is one`);
        isLoop = true;
        first.catch(() => {}); // the loop tells
        return results ?? { next: () => first };
    };
    return first;
}

// By which others find out what an object is.
const notInProxies = new Set(["then", "toJSON"]);

function proxyOf(name, call) {
    const get = (methods, method) => {
        if (typeof method !== "string" || notInProxies.has(method))
            return undefined;
        const fullName = name === "" ? method : `${name}.${method}`;
        return (methods[method] ??= (...list) => call(fullName, list.length > 1 ? list : list[0]));
    };
    return new Proxy(Object.create(null), { get });
}

export function native(name = "", options) {
    return proxyOf(name, (method, argument) => invoke(method, argument, options));
}

export function nativeSync(name = "") {
    return proxyOf(name, callSync);
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
    add(name, fn, (answer, list) => {
        const value = fn(...list);
        return typeof value?.then === "function" ? Promise.resolve(value).then(answer.end) : answer.end(value);
    });
}

export function registerStream(name, fn) {
    add(name, fn, (answer, list) => fn(answer, ...list));
}

export function unregister(name) {
    functions.delete(name);
}

export function ready() {
    if (isInApplication())
        callSync("_dsb.dsinit", {});
}

// Sends answers to a call, the last of them by the script's own value if it is there when that ends.
class Answers {
    text; // of the last
    #id;
    #isOver = false;
    #isLate = false;

    constructor(id) {
        this.#id = id;
    }

    send(data, complete, error) {
        if (this.#isOver)
            return;
        const message = { data: { id: this.#id, data, complete, error } };
        if (messageHandler() && complete && !this.#isLate)
            this.text = write(message);
        else if (openPort())
            port.add(undefined, "_dsb.returnValue", message);
        else
            ask("_dsb.returnValue", message);
        this.#isLate ||= !complete;
        this.#isOver = complete;
    }

    valueOfScript() {
        this.#isLate = true;
        return this.text;
    }
}

function argumentsOf(text) {
    try {
        const list = JSON.parse(text);
        return Array.isArray(list) ? list : [];
    } catch {
        return [];
    }
}

function wordsOf(error) {
    try {
        return String(error);
    } catch {
        return "it has failed";
    }
}

function runOf(method) {
    if (method === probe)
        return (answer, [name]) => answer.end(functions.has(name));
    return functions.get(method) ?? (() => {
        throw "the page has no such function";
    });
}

window._handleMessageFromNative = (message) => {
    if (typeof message?.method !== "string" || !Number.isInteger(message.callbackId)) {
        console.warn("A call from the application cannot be read.");
        return;
    }
    const answers = new Answers(message.callbackId);
    const answer = Object.assign((value) => answers.send(value, false), { end: (value) => answers.send(value, true) });
    const failed = (error) => {
        console.error(`The page function ${message.method} has failed.`, error);
        answers.send(undefined, true, wordsOf(error)); // the application is not left waiting
    };
    try {
        const result = runOf(message.method)(answer, argumentsOf(message.data));
        if (typeof result?.then === "function")
            Promise.resolve(result).catch(failed).catch(console.error);
    } catch (error) {
        failed(error);
    }
    return answers.valueOfScript();
};
