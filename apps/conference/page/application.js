// What the room tells the application around it.

import { callSync, NativeCallError } from "./bridge.js";

/** Tells the application of an event of the room. The room goes on whether or not anybody listens. */
export function report(event, details = {}) {
    try {
        callSync("TQJSBridge." + event, details);
    } catch (error) {
        if (!(error instanceof NativeCallError))
            throw error;
        if (error.reason !== "no-application")
            console.warn(error.message);
    }
}
