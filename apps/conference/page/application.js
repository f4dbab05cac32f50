// What the room tells the application around it. The room goes on whether or not anybody listens.

import { callSync, NativeCallError, ready } from "./bridge.js";

function tell(call) {
    try {
        call();
    } catch (error) {
        if (!(error instanceof NativeCallError))
            throw error;
        if (error.reason !== "no-application")
            console.warn(error.message);
    }
}

/** Tells of an event of the room. */
export function report(event, details = {}) {
    tell(() => callSync("TQJSBridge." + event, details));
}

/** The room may be asked things from now on. */
export function takeCalls() {
    tell(ready);
}
