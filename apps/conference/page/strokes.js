// Strokes that do not come from the pen: drawn one by one, between those of the pen and no faster than the service takes
// messages.

const messagesPerSecond = 110; // the service takes 150, and those of the pen come on top
const messageBurst = 300;
const mostPoints = 1000; // of one message

/** How many messages may go out besides those of the pen. */
export class Budget {
    #left = messageBurst;
    #time = performance.now();

    /** Milliseconds until that many may go out; 0 when they may now. */
    delay(count) {
        const now = performance.now();
        this.#left = Math.min(messageBurst, this.#left + ((now - this.#time) * messagesPerSecond) / 1000);
        this.#time = now;
        return Math.max(0, Math.ceil(((count - this.#left) * 1000) / messagesPerSecond));
    }

    take(count) {
        const isAllowed = this.delay(count) === 0;
        if (isAllowed)
            this.#left -= count;
        return isAllowed;
    }
}

/** The messages that draw a stroke, the first and the last among them. */
function messagesOf(id, { color, width, points }) {
    const messages = [{ type: "begin", id, color, width, points: points.slice(0, 2 * mostPoints) }];
    for (let at = 2 * mostPoints; at < points.length; at += 2 * mostPoints)
        messages.push({ type: "points", id, points: points.slice(at, at + 2 * mostPoints) });
    messages.push({ type: "end", id });
    return messages;
}

export class StrokeQueue {
    #budget;
    #hooks;
    #waiting = []; // {stroke, batch}
    #sent = new Map(); // id -> batch, until the room has taken or refused the stroke
    #timer = 0;

    /**
     * `hooks` has mayDraw() (whether strokes may be drawn at all), isFree() (whether the pen is up), nextId() and
     * send(message), which draws a message and tells the room.
     */
    constructor(budget, hooks) {
        this.#budget = budget;
        this.#hooks = hooks;
    }

    get length() { return this.#waiting.length + this.#sent.size; }

    /** Fulfilled with how many of the strokes the room has taken. */
    add(strokes) {
        return new Promise((resolve) => {
            const batch = { open: strokes.length, drawn: 0, resolve };
            this.#waiting.push(...strokes.map((stroke) => ({ stroke, batch })));
            this.pump();
        });
    }

    /** Draws what can be drawn now. To be called when the pen is lifted. */
    pump() {
        clearTimeout(this.#timer);
        while (this.#waiting.length && this.#hooks.mayDraw() && this.#hooks.isFree()) {
            const { stroke, batch } = this.#waiting[0];
            const count = Math.ceil(stroke.points.length / (2 * mostPoints)) + 1;
            if (!this.#budget.take(count)) {
                this.#timer = setTimeout(() => this.pump(), this.#budget.delay(count));
                return;
            }
            this.#waiting.shift();
            const id = this.#hooks.nextId();
            this.#sent.set(id, batch);
            messagesOf(id, stroke).forEach((message) => this.#hooks.send(message));
        }
    }

    /** The room has taken one of this user's strokes, or has refused or removed it. */
    settled(id, isTaken) {
        const batch = this.#sent.get(id);
        this.#sent.delete(id);
        if (batch)
            this.#count(batch, isTaken ? 1 : 0);
    }

    /** Gives up what is under way, as when the connection is lost. */
    stop() {
        clearTimeout(this.#timer);
        const batches = [...this.#waiting.map(({ batch }) => batch), ...this.#sent.values()];
        this.#waiting = [];
        this.#sent.clear();
        batches.forEach((batch) => this.#count(batch, 0));
    }

    #count(batch, drawn) {
        batch.drawn += drawn;
        if (--batch.open === 0)
            batch.resolve(batch.drawn);
    }
}
