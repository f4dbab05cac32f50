// What the application may ask of the room. Its arguments are checked like those of any stranger; what cannot be done is
// answered with {"error": TEXT}.

import { register, registerStream } from "./bridge.js";
import { palette } from "./board.js";

const mostStrokes = 500; // of one call
const mostWaiting = 2000; // of all calls
const mostPoints = 4096; // of one stroke
const widest = 60;
const mostListeners = 8;

class Refusal extends Error {}

function check(isRight, text) {
    if (!isRight)
        throw new Refusal(text);
}

function offer(name, fn) {
    register(name, async (...list) => {
        try {
            return await fn(...list);
        } catch (error) {
            if (error instanceof Refusal)
                return { error: error.message };
            throw error;
        }
    });
}

function strokeOf(value, i) {
    const stroke = `stroke ${i + 1}`;
    check(value !== null && typeof value === "object", `${stroke} must be an object`);
    const { color, width, points } = value;
    check(typeof color === "string" && Object.hasOwn(palette, color),
        `${stroke}: color must be one of ${Object.keys(palette).join(", ")}`);
    check(Number.isInteger(width) && width >= 1 && width <= widest,
        `${stroke}: width must be a whole number from 1 to ${widest}`);
    check(Array.isArray(points) && points.length > 0 && points.length % 2 === 0 && points.length <= 2 * mostPoints
        && points.every((number) => typeof number === "number" && number >= 0 && number <= 1),
        `${stroke}: points must be 1 to ${mostPoints} pairs x, y in one list, of numbers from 0 to 1`);
    return { color, width, points: points.map((number) => Math.round(number * 1e5) / 1e5) };
}

/** The events of the room for those who listen to them; the last one of each listener is "over". */
export class RoomEvents {
    #listeners = new Set();
    #end = null;

    constructor() {
        registerStream("room.events", (answer) => this.#add(answer));
    }

    tell(event) {
        for (const answer of this.#listeners)
            answer(event);
    }

    over(details) {
        this.#end ??= { type: "over", ...details };
        for (const answer of this.#listeners)
            answer.end(this.#end);
        this.#listeners.clear();
    }

    #add(answer) {
        if (this.#end) {
            answer.end(this.#end);
            return;
        }
        this.#listeners.add(answer);
        // Nobody says when a listener is no longer wanted.
        if (this.#listeners.size > mostListeners) {
            const [oldest] = this.#listeners;
            this.#listeners.delete(oldest);
            oldest.end({ type: "over", reason: "too many listeners" });
        }
    }
}

/** Registers the functions on the room, as it is whenever they are called; `queue` is that of its strokes. */
export function offerFunctions(room, board, queue, budget, capture) {
    const checkControl = () => {
        check(!room.isReplay, "a recording cannot be changed");
        check(room.state !== "over", "the room is closed");
        check(room.state === "live", "the room is not connected");
        check(room.role === "presenter", "only a presenter may do that");
    };
    const ask = (message) => {
        check(budget.take(1), "too many requests; try again in a moment");
        check(room.connection.send(message), "the room is not connected");
        return true;
    };
    offer("board.draw", (strokes) => {
        checkControl();
        check(Array.isArray(strokes) && strokes.length <= mostStrokes,
            `board.draw takes a list of at most ${mostStrokes} strokes`);
        const checked = strokes.map(strokeOf);
        check(queue.length + checked.length <= mostWaiting, "too many strokes are waiting to be drawn");
        return checked.length ? queue.add(checked) : 0;
    });
    offer("board.strokes", () => board.strokes);
    offer("board.clear", () => {
        checkControl();
        return ask({ type: "clear" });
    });
    offer("board.capture", () => {
        capture();
        return true;
    });
    offer("room.people", () => room.members.map(({ uid, name, role }) => ({ uid, name, role })));
    offer("room.record", (on) => {
        check(typeof on === "boolean", "room.record takes true or false");
        checkControl();
        return on === room.isRecording || ask({ type: "record", on });
    });
    offerPlayer(room);
}

function offerPlayer(room) {
    const withPlayer = (act) => (...list) => {
        const { player } = room;
        check(player, "no recording is shown");
        act(player, ...list);
        return { position: Math.round(player.position), duration: player.duration, isPlaying: player.isPlaying };
    };
    offer("player.seek", withPlayer((player, position) => {
        check(Number.isFinite(position), "player.seek takes a number of milliseconds");
        player.seek(position);
    }));
    offer("player.play", withPlayer((player) => player.play()));
    offer("player.pause", withPlayer((player) => player.pause()));
    offer("player.state", withPlayer(() => {}));
}
