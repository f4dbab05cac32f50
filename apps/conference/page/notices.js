// Says who has joined and who has left: for a moment, and several at once in one line.

import { nameNode, nameOf } from "./names.js";
import { text } from "./texts.js";

const gatherTime = 500; // milliseconds
const showTime = 4500;
const mostLines = 3;
const mostNames = 3;

/** "Ann", "Ann and Bob", "Ann, Bob and Carl", "Ann, Bob and 2 others". */
function listOf(names) {
    const named = names.length > mostNames ? names.slice(0, mostNames - 1) : names;
    const others = names.length - named.length;
    const items = named.map((name) => nameNode(name));
    if (others)
        items.push(text("others", { count: others }));
    return items.flatMap((item, i) => (i === 0 ? [item] : [text(i === items.length - 1 ? "and" : "comma"), item]));
}

export class PeopleNotices {
    #place;
    #changes = new Map(); // uid -> {name, hasJoined}
    #timer = 0;

    constructor(place) {
        this.#place = place;
    }

    /** Somebody has joined, or has left. Who does both within a moment is not worth a word. */
    changed(member, hasJoined) {
        const earlier = this.#changes.get(member.uid);
        if (earlier && earlier.hasJoined !== hasJoined)
            this.#changes.delete(member.uid);
        else
            this.#changes.set(member.uid, { name: nameOf(member), hasJoined });
        if (!this.#timer)
            this.#timer = setTimeout(() => this.#show(), gatherTime);
    }

    #show() {
        this.#timer = 0;
        const changes = [...this.#changes.values()];
        this.#changes.clear();
        this.#say(changes.filter((change) => change.hasJoined), "joined", "joinedMany");
        this.#say(changes.filter((change) => !change.hasJoined), "left", "leftMany");
    }

    #say(changes, one, many) {
        if (changes.length === 0)
            return;
        const line = document.createElement("p");
        const names = listOf(changes.map((change) => change.name));
        const [before, after] = text(changes.length === 1 ? one : many, { names: "\n" }).split("\n");
        line.append(before, ...names, after);
        this.#place.append(line);
        while (this.#place.children.length > mostLines)
            this.#place.firstElementChild.remove();
        setTimeout(() => line.remove(), showTime);
    }
}
