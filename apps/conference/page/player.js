// Plays a recording on the board, with the times at which things happened.

export class Player {
    #board;
    #recording;
    #position = 0; // milliseconds
    #next = 0; // the first event that is not on the board yet
    #lastFrame = null;
    #changed;

    /** `changed` is called whenever the position moves or the player starts or stops. */
    constructor(board, recording, changed) {
        this.#board = board;
        this.#recording = recording;
        this.#changed = changed;
        this.seek(0);
    }

    static async fetch(source) {
        const answer = await fetch(source);
        if (!answer.ok)
            throw new Error("recording not found");
        return answer.json();
    }

    get room() { return this.#recording.room; }
    get duration() { return this.#recording.duration; }
    get position() { return this.#position; }
    get isPlaying() { return this.#lastFrame !== null; }

    play() {
        if (this.isPlaying)
            return;
        if (this.#position >= this.duration)
            this.seek(0);
        this.#lastFrame = performance.now();
        requestAnimationFrame(() => this.#frame());
        this.#changed();
    }

    pause() {
        this.#lastFrame = null;
        this.#changed();
    }

    seek(position) {
        if (position < this.#position || this.#next === 0) {
            this.#board.reset();
            this.#board.load(this.#recording.strokes);
            this.#next = 0;
        }
        this.#position = Math.min(Math.max(0, position), this.duration);
        this.#catchUp();
        this.#changed();
    }

    #catchUp() {
        const events = this.#recording.events;
        while (this.#next < events.length && events[this.#next].t <= this.#position)
            this.#board.apply(events[this.#next++].event);
    }

    #frame() {
        if (!this.isPlaying)
            return;
        const now = performance.now();
        this.#position = Math.min(this.duration, this.#position + now - this.#lastFrame);
        this.#lastFrame = now;
        this.#catchUp();
        if (this.#position >= this.duration) {
            this.pause();
            return;
        }
        this.#changed();
        requestAnimationFrame(() => this.#frame());
    }
}
