// Declarations for bridge.js. README.md beside this file has examples.

/** Why a call has no value. */
export type NativeCallFailure =
    /** The page is not shown by an application; nothing was asked. */
    | "no-application"
    /** The application has no method of that name and kind. */
    | "no-method"
    /** The method takes an argument of another type, and was not called; the error's message says what is wrong. */
    | "bad-argument"
    /** The method was called and has failed; the error's message has its own words, where it has said any. */
    | "failed"
    /** The method was called, and what it returned or sent cannot be written or read. */
    | "unreadable"
    /** No result came within the time that the page allowed. */
    | "timeout"
    /** The page was left while it waited, and has come back, or the application refuses it: results may have been lost. */
    | "left";

/** The error of every call of the application that has no value. */
export class NativeCallError extends Error {
    constructor(method: string, reason: NativeCallFailure, message?: string);
    /** The full name of the method that was called. */
    readonly method: string;
    readonly reason: NativeCallFailure;
}

/** Whether the page is the main frame of an application's view. If not, every call throws at once and asks nobody. */
export function isInApplication(): boolean;

/**
 * Calls a synchronous native method and returns its value, "" when it returned nothing. The page stands still
 * meanwhile.
 *
 * @param method "namespace.method", or "method" of the empty namespace; plain ASCII.
 * @param argument whatever JSON can express; `undefined`, a function and a symbol are no argument. Half of a surrogate
 * pair alone becomes U+FFFD.
 * @throws NativeCallError, and TypeError for what JSON refuses (a BigInt, objects in a circle) and for what the
 * application does not read, being nested deeper than 511.
 */
export function callSync<Value = unknown>(method: string, argument?: unknown): Value;

export interface CallOptions {
    /**
     * Milliseconds until the call is given up with the reason "timeout", 0 or more; without limit if left out.
     * Anything else is a RangeError.
     */
    timeout?: number;
    /** Gives the call up when it is aborted; the error is its reason then. */
    signal?: AbortSignal;
}

/**
 * Calls a native method without stopping the page: one that answers later or, if there is none of that name, one that
 * answers at once. Fulfilled with its first result, undefined when it ends without any; rejected with what callSync
 * would throw.
 */
export function callAsync<Value = unknown>(
    method: string,
    argument?: unknown,
    options?: CallOptions,
): Promise<Value | undefined>;

/**
 * Calls an asynchronous native method; `callback` gets every result, never before this has returned. `isLast` is true
 * with the last one, and with no other. A method that ends without a last result ends with undefined. There is an `error`
 * in place of a result that cannot be written, of those that are lost since the page was left, and where the method cannot
 * be called; others may follow where `isLast` is false.
 *
 * @returns a function that abandons the call: `callback` is not called any more.
 * @throws NativeCallError without an application, and what callSync throws for the argument.
 */
export function callWithCallback<Value = unknown>(
    method: string,
    argument: unknown,
    callback: (value: Value | undefined, isLast: boolean, error?: NativeCallError) => void,
): () => void;

/** The results of an asynchronous native method, one after the other. A result that cannot be read ends them, by throwing. */
export interface ResultStream<Value> extends AsyncIterableIterator<Value> {
    /** Abandons the call and ends the loops over it. Leaving a `for await` loop early does so too. */
    return(value?: unknown): Promise<IteratorResult<Value, any>>;
}

/**
 * Calls an asynchronous native method at once. What comes before it is read is kept. When the signal is aborted, its
 * reason is the error that ends the results.
 *
 * @throws what callWithCallback throws.
 */
export function stream<Value = unknown>(
    method: string,
    argument?: unknown,
    options?: Pick<CallOptions, "signal">,
): ResultStream<Value>;

/**
 * What a method of `native` returns: a Promise of its first result, undefined when it ends without any. A loop over it
 * has all results: `for await (const percent of download.start(url))`. The loop begins where the call is made; a call
 * without a loop is given up after its first result.
 */
export interface NativeCall<Value> extends Promise<Value | undefined>, AsyncIterable<Value> {}

/**
 * The methods of a native object, to be called by their names, without stopping the page: those that answer at once, and
 * those that answer later. Parameters are passed as they are: one is the argument, several are a list.
 *
 * @typeParam Methods what the application has written of the object; it may be anything where there is no such file.
 * @param name the namespace; the empty one if left out.
 * @param options those of callAsync, for each of its calls.
 */
export function native<Methods extends object = UntypedMethods>(name?: string, options?: CallOptions): Methods;

/** The same for those that answer at once; the page stands still meanwhile, and the value is what the method returns. */
export function nativeSync<Methods extends object = UntypedMethods>(name?: string): SyncMethods<Methods>;

/** Any methods. */
export interface UntypedMethods {
    [method: string]: (...parameters: any[]) => NativeCall<any>;
}

/** Those of the methods that answer at once, as nativeSync has them. */
export type SyncMethods<Methods> = {
    [Name in keyof Methods as Methods[Name] extends (...parameters: any[]) => AsyncIterable<unknown>
        ? string extends Name
            ? Name
            : never
        : Name]: Methods[Name] extends (...parameters: infer Parameters) => Promise<infer Value>
        ? (...parameters: Parameters) => Value
        : never;
};

/**
 * Whether the application has a native method of that full name and kind; false without an application.
 *
 * @param type "syn" (answers at once), "asyn" (answers later), or either.
 */
export function hasNativeMethod(name: string, type?: "all" | "asyn" | "syn"): boolean;

/** Asks the application to close the page. */
export function closePage(): void;

/** After true, alert, confirm and prompt do not hold the page up until the user has answered; after false they do. */
export function disableDialogBlock(disable?: boolean): void;

/**
 * Lets the application call a function of the page, in place of an earlier one of the name.
 *
 * What `fn` returns, or what the Promise that it returns is fulfilled with, is the one answer. If it throws, the error
 * is shown in the console, and the application gets it as a text, or an answer without a value.
 *
 * @throws TypeError for what is no name or no function, and for the name "_hasJavascriptMethod": by it the application
 * asks whether the page has a function.
 */
export function register(name: string, fn: (...args: any[]) => unknown): void;

/**
 * Sends the application one answer; without effect after the end. Values are those of callSync's argument, and so are
 * the errors.
 */
export interface Answer {
    (value?: unknown): void;
    /** Sends the last answer. */
    end(value?: unknown): void;
}

/**
 * Lets the application call a function of the page that answers as often as it wants, until `answer.end`.
 *
 * If `fn` throws, or the Promise that it returns is rejected, the error is shown in the console, and the answers end with it.
 *
 * @throws what register throws.
 */
export function registerStream(name: string, fn: (answer: Answer, ...args: any[]) => unknown): void;

/** Takes a function of the page away from the application. */
export function unregister(name: string): void;

/**
 * Tells the application that all functions are registered. It sends the calls that it has kept until now, in order;
 * later ones come at once, also to the pages that follow in the same view. Does nothing without an application.
 */
export function ready(): void;
