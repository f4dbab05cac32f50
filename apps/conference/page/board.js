// The drawing: strokes in board units (0 to 1 across and down), painted on a canvas of fixed proportions.

export const aspect = 16 / 9;
export const palette = {
    ink: "#1f2933",
    red: "#d9363e",
    orange: "#f08c00",
    green: "#2b8a3e",
    blue: "#1971c2",
    violet: "#7048e8",
    board: "#ffffff",
};

const captureWidth = 1920;

function nameOf(uid, id) {
    return id + " " + uid;
}

/** Paints a stroke's points from `from` on; the last half segment is painted once the stroke has ended. */
function paint(context, stroke, from, width, height) {
    const points = stroke.points;
    const count = points.length / 2;
    const x = (i) => points[2 * i] * width;
    const y = (i) => points[2 * i + 1] * height;
    const middle = (i) => [(x(i - 1) + x(i)) / 2, (y(i - 1) + y(i)) / 2];
    context.strokeStyle = context.fillStyle = palette[stroke.color] ?? palette.ink;
    context.lineWidth = Math.max(1, stroke.width / 1000 * width);
    context.lineCap = context.lineJoin = "round";
    if (from === 0) {
        context.beginPath();
        context.arc(x(0), y(0), context.lineWidth / 2, 0, 2 * Math.PI);
        context.fill();
    }
    context.beginPath();
    const first = Math.max(1, from);
    if (first < count)
        context.moveTo(...(first === 1 ? [x(0), y(0)] : middle(first - 1)));
    for (let i = first; i < count; ++i)
        context.quadraticCurveTo(x(i - 1), y(i - 1), ...middle(i));
    if (stroke.ended && count > 1) {
        context.moveTo(...middle(count - 1));
        context.lineTo(x(count - 1), y(count - 1));
    }
    context.stroke();
}

export class Board {
    #canvas;
    #context;
    #strokes = new Map(); // in drawing order
    #dirty = false;

    constructor(canvas) {
        this.#canvas = canvas;
        this.#context = canvas.getContext("2d");
        const stage = canvas.parentElement;
        new ResizeObserver(() => this.#fit(stage)).observe(stage);
        this.#fit(stage);
    }

    /** Board units of a pointer's place, kept inside the board. */
    place(event) {
        const box = this.#canvas.getBoundingClientRect();
        const unit = (value) => Math.round(Math.min(1, Math.max(0, value)) * 1e5) / 1e5;
        return [unit((event.clientX - box.left) / box.width), unit((event.clientY - box.top) / box.height)];
    }

    /** What is on the board, in drawing order. */
    get strokes() {
        return [...this.#strokes.values()].map(({ uid, id, color, width, points }) => ({ uid, id, color, width, points }));
    }

    reset() {
        this.#strokes.clear();
        this.#repaint();
    }

    /** Puts strokes that are complete (or as complete as they are) on the board. */
    load(strokes) {
        for (const stroke of strokes)
            this.#strokes.set(nameOf(stroke.uid, stroke.id), { ...stroke, points: [...stroke.points], ended: true });
        this.#repaint();
    }

    /** Begins a stroke. One that is there already (it was drawn here) only takes its place in the common order. */
    begin({ uid, id, color, width, points }) {
        const name = nameOf(uid, id);
        const known = this.#strokes.get(name);
        if (known) {
            const isLast = [...this.#strokes.keys()].at(-1) === name;
            this.#strokes.delete(name);
            this.#strokes.set(name, known);
            if (!isLast)
                this.#repaint();
            return;
        }
        const stroke = { uid, id, color, width, points: [...points], ended: false, isOnlyHere: true };
        this.#strokes.set(name, stroke);
        this.#paintFrom(stroke, 0);
    }

    extend({ uid, id, points }) {
        const stroke = this.#strokes.get(nameOf(uid, id));
        if (!stroke)
            return;
        const from = stroke.points.length / 2;
        stroke.points.push(...points);
        stroke.ended = false;
        this.#paintFrom(stroke, from);
    }

    end({ uid, id }) {
        const stroke = this.#strokes.get(nameOf(uid, id));
        if (!stroke || stroke.ended)
            return;
        stroke.ended = true;
        this.#paintFrom(stroke, stroke.points.length / 2);
    }

    remove({ uid, id }) {
        if (this.#strokes.delete(nameOf(uid, id)))
            this.#repaint();
    }

    /** Removes what the room knows. A stroke that the room has not told of yet comes after the clearing in its order. */
    clear() {
        for (const [name, stroke] of this.#strokes) {
            if (!stroke.isOnlyHere)
                this.#strokes.delete(name);
        }
        this.#repaint();
    }

    has({ uid, id }) {
        return this.#strokes.has(nameOf(uid, id));
    }

    /** Draws what a message to the room says; the room has yet to tell of it. */
    draw(event) {
        switch (event.type) {
        case "begin": return this.begin(event);
        case "points": return this.extend(event);
        case "end": return this.end(event);
        }
    }

    /** Does what a message of the room, or an event of a recording, says. */
    apply(event) {
        switch (event.type) {
        case "remove": return this.remove(event);
        case "clear": return this.clear();
        }
        this.draw(event);
        if (event.type === "begin")
            this.#strokes.get(nameOf(event.uid, event.id)).isOnlyHere = false;
    }

    /** The board as a PNG file, in base64. */
    capture() {
        const picture = document.createElement("canvas");
        picture.width = captureWidth;
        picture.height = Math.round(captureWidth / aspect);
        this.#paintAll(picture.getContext("2d"), picture.width, picture.height);
        return picture.toDataURL("image/png").split(",")[1];
    }

    #fit(stage) {
        const room = stage.getBoundingClientRect();
        const width = Math.max(1, Math.floor(Math.min(room.width, room.height * aspect)));
        const height = Math.max(1, Math.round(width / aspect));
        const scale = window.devicePixelRatio || 1;
        this.#canvas.style.width = width + "px";
        this.#canvas.style.height = height + "px";
        this.#canvas.width = Math.round(width * scale);
        this.#canvas.height = Math.round(height * scale);
        this.#paintAll(this.#context, this.#canvas.width, this.#canvas.height);
    }

    #paintFrom(stroke, from) {
        if (!this.#dirty)
            paint(this.#context, stroke, from, this.#canvas.width, this.#canvas.height);
    }

    #repaint() {
        if (this.#dirty)
            return;
        this.#dirty = true;
        requestAnimationFrame(() => {
            this.#dirty = false;
            this.#paintAll(this.#context, this.#canvas.width, this.#canvas.height);
        });
    }

    #paintAll(context, width, height) {
        context.fillStyle = palette.board;
        context.fillRect(0, 0, width, height);
        for (const stroke of this.#strokes.values())
            paint(context, stroke, 0, width, height);
    }
}
