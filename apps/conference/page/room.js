// The page's connection to its room: one socket, opened again a few times when it is lost.

const retryDelays = [300, 700, 1500, 3000, 6000, 10000]; // milliseconds
const connectionLost = 4500;

export class RoomConnection {
    #key;
    #listener;
    #socket = null;
    #attempt = 0;
    #isOver = false;

    /**
     * `listener` has stateChanged("connecting" | "reconnecting" | "live"), message(object) and
     * failed({code, msg}), which comes once at most and is the last.
     */
    constructor(key, listener) {
        this.#key = key;
        this.#listener = listener;
    }

    open() {
        this.#listener.stateChanged(this.#attempt ? "reconnecting" : "connecting");
        const socket = new WebSocket(`wss://${location.host}/conference/live?key=${encodeURIComponent(this.#key)}`);
        this.#socket = socket;
        socket.onmessage = (event) => this.#take(JSON.parse(event.data));
        socket.onclose = () => this.#lost(socket);
    }

    /** False when there is no connection; nothing is kept for later. */
    send(message) {
        if (this.#socket?.readyState !== WebSocket.OPEN)
            return false;
        this.#socket.send(JSON.stringify(message));
        return true;
    }

    /** Ends the connection for good. */
    finish() {
        this.#isOver = true;
        this.#socket?.close();
    }

    #take(message) {
        if (this.#isOver)
            return;
        if (message.type === "failed") {
            this.#fail({ code: message.code, msg: message.msg });
            return;
        }
        this.#listener.message(message);
        if (message.type === "ready") {
            this.#attempt = 0;
            this.#listener.stateChanged("live");
        }
    }

    #lost(socket) {
        if (this.#isOver || socket !== this.#socket)
            return;
        if (this.#attempt === retryDelays.length) {
            this.#fail({ code: connectionLost, msg: "the connection to the room is lost" });
            return;
        }
        this.#listener.stateChanged("reconnecting");
        setTimeout(() => this.open(), retryDelays[this.#attempt++]);
    }

    #fail(failure) {
        this.finish();
        this.#listener.failed(failure);
    }
}
