// Who is in the room: the chips beside the room's name, and the list that names everybody.

import { nameNode, nameOf } from "./names.js";
import { text } from "./texts.js";

const seatColors = ["#1971c2", "#d9363e", "#2b8a3e", "#f08c00", "#7048e8", "#0c8599", "#c2255c", "#5c940d"];

function node(tag, name, content) {
    const element = document.createElement(tag);
    element.className = name;
    element.textContent = content;
    return element;
}

/** The dot and the name of a member, and which one is the user. */
function labelsOf(member, me) {
    const dot = node("span", "dot", "");
    dot.style.background = seatColors[member.seat % seatColors.length];
    const labels = [dot, nameNode(nameOf(member))];
    return member.uid === me.uid ? [...labels, node("span", "you", text("you"))] : labels;
}

function chipOf(member, me) {
    const chip = document.createElement("li");
    chip.append(...labelsOf(member, me));
    return chip;
}

function rowOf(member, me, changeRole) {
    const row = document.createElement("li");
    row.append(...labelsOf(member, me), node("span", "role", text(member.role)));
    if (me.role === "presenter" && member.uid !== me.uid) {
        const other = member.role === "presenter" ? "viewer" : "presenter";
        const change = other === "presenter" ? "letDraw" : "onlyWatch";
        const button = node("button", "", text(change));
        button.dataset.uid = member.uid;
        button.setAttribute("aria-label", text(change + "Name", { name: nameOf(member) }));
        button.type = "button";
        button.onclick = () => changeRole(member.uid, other);
        row.append(button);
    }
    return row;
}

/** Shows the members, `me` (who has a uid and a role) first; `changeRole(uid, role)` is what a presenter may ask for. */
export function showPeople(members, me, changeRole) {
    const ordered = [...members].sort((a, b) => (b.uid === me.uid) - (a.uid === me.uid) || a.seat - b.seat);
    const place = document.getElementById("chips");
    const chips = ordered.map((member) => chipOf(member, me));
    place.replaceChildren(...chips);
    // A chip that is cut in half tells nothing; the list names everybody.
    const space = place.clientWidth;
    let used = 0;
    for (const chip of chips) {
        used += chip.offsetWidth + 6;
        chip.hidden = used > space;
    }
    const list = document.getElementById("list");
    const focused = list.contains(document.activeElement) ? document.activeElement.dataset.uid : null;
    list.replaceChildren(...ordered.map((member) => rowOf(member, me, changeRole)));
    // Whoever was at somebody's button stays there.
    if (focused !== null)
        [...list.querySelectorAll("button")].find((button) => button.dataset.uid === focused)?.focus();
    document.getElementById("count").textContent = ordered.length;
}
