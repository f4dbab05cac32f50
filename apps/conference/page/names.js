// Names are texts of strangers: what would hide, turn its neighbours around or pile up on them is not shown.

import { text } from "./texts.js";

const longest = 32; // letters, as a reader counts them
// Controls, direction marks and other letters without a shape; the joiners stay, which some scripts and emoji need.
const shapeless = /(?![\u200c\u200d])[\p{Cc}\p{Cf}\p{Co}\p{Cs}\u115f\u1160\u2800\u3164\uffa0]/gu;
const visible = /[\p{L}\p{N}\p{P}\p{S}]/u;

/** The text in one line, as far as it can be shown; empty if nothing of it can. */
export function shownText(text) {
    const clean = text.replace(/\s+/gu, " ").replace(shapeless, "").replace(/(\p{M}{3})\p{M}+/gu, "$1").trim();
    if (!visible.test(clean))
        return "";
    const letters = [...new Intl.Segmenter().segment(clean)];
    return letters.length > longest ? clean.slice(0, letters[longest - 1].index).trimEnd() + "…" : clean;
}

/** What a member is called in the page. */
export function nameOf(member) {
    return shownText(member.name) || shownText(member.uid) || text("somebody");
}

/** A name as a node that leaves the direction of the text around it alone. */
export function nameNode(name, className = "name") {
    const node = document.createElement("bdi");
    node.className = className;
    node.textContent = name;
    return node;
}
