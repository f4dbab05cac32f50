// The room page: puts the board, the tools, the room's connection (or a recording) and the application together.

import { report, takeCalls } from "./application.js";
import { Board, palette } from "./board.js";
import { isInApplication } from "./bridge.js";
import { offerFunctions, RoomEvents } from "./functions.js";
import { shownText } from "./names.js";
import { PeopleNotices } from "./notices.js";
import { showPeople } from "./people.js";
import { Player } from "./player.js";
import { RoomConnection } from "./room.js";
import { Budget, StrokeQueue } from "./strokes.js";
import { fillIn, text, textOr } from "./texts.js";
import { connectToolbar } from "./toolbar.js";

const element = (id) => document.getElementById(id);
const all = (selector) => [...document.querySelectorAll(selector)];

const eraserFactor = 5;
const mostPoints = 1000; // of one stroke; a longer one goes on as the next
const mostPending = 400; // points of one message
const badRecording = 4004;
const status = { presenter: 1, viewer: 2 };

const board = new Board(element("board"));
const room = {
    connection: null,
    uid: "",
    role: null,
    state: "connecting",
    members: [],
    isRecording: false,
    isLoaded: false,
    isReplay: false,
    lastStroke: 0,
    player: null,
};
const notices = new PeopleNotices(element("notices"));
const events = new RoomEvents();
const budget = new Budget();
const queue = new StrokeQueue(budget, {
    mayDraw,
    isFree: () => drawing.pointer === null,
    nextId: () => ++room.lastStroke,
    send(message) {
        board.draw({ uid: room.uid, ...message });
        room.connection.send(message);
    },
});
const pen = { color: "ink", width: 3 };
const drawing = { pointer: null, id: 0, count: 0, pending: [] };

// What the page says

function show(id, isShown) {
    element(id).hidden = !isShown;
}

let toastTimer = 0;
function say(words) {
    // Always there, so that what it says is heard.
    element("toast").textContent = words;
    clearTimeout(toastTimer);
    toastTimer = setTimeout(() => { element("toast").textContent = ""; }, 3500);
}

/** Ends the room; `end` is what listeners to its events are told. */
function cover(title, words, code, end) {
    element("cover-title").textContent = title;
    element("cover-text").textContent = words;
    element("cover-code").textContent = code ? text("code", { code }) : "";
    show("cover", true);
    togglePanel(false);
    for (const part of all("header, main, footer"))
        part.inert = true;
    room.state = "over";
    showState("over", text("closed"));
    stopDrawing();
    queue.stop();
    showTools();
    events.over(end);
    takeCalls();
}

function showState(name, words) {
    element("state").className = "state " + name;
    element("state").textContent = words;
}

function mayDraw() {
    return room.role === "presenter" && room.state === "live";
}

function showTools() {
    show("tools", !room.isReplay && room.role === "presenter");
    show("watch", !room.isReplay && room.role === "viewer");
    show("player", room.isReplay);
    element("board").classList.toggle("drawing", mayDraw());
    for (const id of ["undo", "clear", "record"])
        element(id).disabled = !mayDraw();
    for (const button of all("#pens button"))
        button.setAttribute("aria-pressed", button.dataset.color === pen.color);
    for (const button of all("#widths button"))
        button.setAttribute("aria-pressed", Number(button.dataset.width) === pen.width);
    element("record").setAttribute("aria-pressed", room.isRecording);
    element("record").setAttribute("aria-label", text("record"));
    element("record").title = text(room.isRecording ? "stopRecording" : "startRecording");
    show("recording", room.isRecording);
}

function showMembers() {
    showPeople(room.members, room, (uid, role) => room.connection.send({ type: "role", uid, role }));
    show("people", !room.isReplay);
}

// What happens in the room

function setRecording(isRecording, url) {
    if (isRecording === room.isRecording)
        return;
    room.isRecording = isRecording;
    showTools();
    events.tell(isRecording ? { type: "recording", on: true } : { type: "recording", on: false, url: url ?? null });
    if (isRecording) {
        say(text("recordingStarted"));
        report("onRecordStart");
        return;
    }
    say(text(url === null ? "recordingLost" : "recordingEnded"));
    report("onRecordEnd", url ? { url } : {});
}

function loaded() {
    if (room.isLoaded)
        return;
    room.isLoaded = true;
    takeCalls();
    // The first frame is the one that shows the board.
    requestAnimationFrame(() => setTimeout(() => report("onLoadEnd")));
}

/** Tells of those who have come, gone or got another role since the list before. */
function tellChanges(before, after) {
    const old = new Map(before.map((member) => [member.uid, member]));
    for (const member of after) {
        const { uid, name, role } = member;
        const known = old.get(uid);
        old.delete(uid);
        if (!known) {
            notices.changed(member, true);
            events.tell({ type: "join", uid, name, role });
        } else if (known.role !== role) {
            events.tell({ type: "role", uid, name, role });
        }
    }
    for (const member of old.values()) {
        notices.changed(member, false);
        events.tell({ type: "leave", uid: member.uid, name: member.name });
    }
}

function takeMembers(members) {
    const before = room.members;
    room.members = members;
    const role = members.find((member) => member.uid === room.uid)?.role ?? room.role;
    const isChange = role !== room.role;
    const isFirst = room.role === null;
    room.role = role;
    if (isChange) {
        if (role === "viewer") {
            stopDrawing();
            queue.stop();
        }
        if (!isFirst)
            say(text(role === "presenter" ? "mayDraw" : "mayWatch"));
        report("onStatusChange", { status: status[role] });
    }
    if (!isFirst)
        tellChanges(before, members);
    showTools();
    showMembers();
}

function enter(message) {
    element("room").textContent = document.title = shownText(message.room) || text("title");
    if (message.mode === "replay") {
        room.connection.finish();
        replay(message.source);
        return;
    }
    stopDrawing();
    room.uid = message.uid;
    room.lastStroke = Math.max(room.lastStroke, message.lastStroke);
    board.reset();
    setRecording(message.recording);
}

function quit() {
    cover(text("youLeft"), text("boardClosed"), 0, { reason: "quit" });
    report("onRoomQuited");
    room.connection.finish(); // the service takes this for the page's goodbye
}

function fail({ code, msg }) {
    const words = textOr("failed" + code, msg[0].toUpperCase() + msg.slice(1) + ".");
    cover(text("roomClosed"), words, code, { reason: "failed", code, msg });
    report("onRoomException", { code, msg });
}

const handlers = {
    welcome: enter,
    members: (message) => takeMembers(message.members),
    board: (message) => board.load(message.strokes),
    ready: loaded,
    recording: (message) => setRecording(message.on, message.url),
    notice: (message) => say(textOr(message.name, message.text)),
    quit,
};

const listener = {
    stateChanged(state) {
        room.state = state;
        showState(state, text(state));
        if (state !== "live") {
            stopDrawing();
            queue.stop();
        }
        showTools();
    },
    message(message) {
        const isOwn = message.uid === room.uid;
        if (isOwn && (message.type === "begin" || message.type === "remove"))
            queue.settled(message.id, message.type === "begin");
        (handlers[message.type] ?? ((event) => board.apply(event)))(message);
        // Only then: the strokes that wait for the pen are drawn on the board as it is now.
        if (drawing.pointer !== null && !board.has({ uid: room.uid, id: drawing.id }))
            stopDrawing();
    },
    failed: fail,
};

// Drawing

function startStroke(points) {
    drawing.id = ++room.lastStroke;
    drawing.count = points.length / 2;
    const isEraser = pen.color === "board";
    const stroke = { id: drawing.id, color: pen.color, width: pen.width * (isEraser ? eraserFactor : 1), points };
    board.begin({ uid: room.uid, ...stroke });
    room.connection.send({ type: "begin", ...stroke });
}

function endStroke() {
    flush();
    board.end({ uid: room.uid, id: drawing.id });
    room.connection.send({ type: "end", id: drawing.id });
}

function flush() {
    while (drawing.pending.length) {
        const points = drawing.pending.splice(0, 2 * mostPending);
        room.connection.send({ type: "points", id: drawing.id, points });
    }
}

/** Forgets the stroke under way, as when the board was cleared under the pen. */
function stopDrawing() {
    drawing.pointer = null;
    drawing.pending = [];
    queue.pump();
}

function penDown(pointer, event) {
    togglePanel(false);
    drawing.pointer = pointer;
    startStroke(board.place(event));
}

function penMove(steps) {
    for (const step of steps) {
        const point = board.place(step);
        if (drawing.pending.length === 0)
            requestAnimationFrame(flush);
        drawing.pending.push(...point);
        board.extend({ uid: room.uid, id: drawing.id, points: point });
        if (++drawing.count >= mostPoints) {
            endStroke();
            startStroke(point);
        }
    }
}

function penUp() {
    endStroke();
    stopDrawing();
}

function pointerDown(event) {
    if (!mayDraw() || drawing.pointer !== null || !event.isPrimary || event.button !== 0 || isEcho(event))
        return;
    event.preventDefault();
    element("board").setPointerCapture(event.pointerId);
    penDown(event.pointerId, event);
}

function pointerMove(event) {
    if (event.pointerId !== drawing.pointer)
        return;
    const steps = event.getCoalescedEvents?.() ?? [];
    penMove(steps.length ? steps : [event]);
}

function pointerUp(event) {
    if (event.pointerId === drawing.pointer)
        penUp();
}

// Not every engine makes pointer events of touches. Where one does, they come first, and the pen is down already.

const mostEchoes = 50;
const latestEcho = 100; // ms
const farthestEcho = 20; // px
let touches = []; // that have ended, and may have an echo

/**
 * Whether the engine made the event of a quick tap, before it knew that the page had taken the touch. However late it
 * comes, its time is the finger's.
 */
function isEcho(event) {
    const touch = event.pointerType === "mouse" && touches.find(({ time, x, y }) =>
        event.timeStamp < time + latestEcho && Math.hypot(event.clientX - x, event.clientY - y) < farthestEcho);
    touches = touches.filter((other) => other !== touch);
    return Boolean(touch);
}

const touchName = (touch) => "touch " + touch.identifier;
const drawingTouch = (event) => [...event.changedTouches].find((touch) => touchName(touch) === drawing.pointer);

function touchStart(event) {
    const touch = event.changedTouches[0];
    // The engine looks for the element under the finger beside it, when the window has a shadow.
    if (!mayDraw() || document.elementFromPoint(touch.clientX, touch.clientY) !== element("board"))
        return;
    // No mouse events in its wake, no menu after a while, no zoom by two fingers.
    event.preventDefault();
    if (drawing.pointer === null)
        penDown(touchName(touch), touch);
}

function touchMove(event) {
    const touch = drawingTouch(event);
    if (touch)
        penMove([touch]);
}

function touchEnd(event) {
    const touch = drawingTouch(event);
    if (!touch)
        return;
    touches = [...touches.slice(-mostEchoes), { time: event.timeStamp, x: touch.clientX, y: touch.clientY }];
    penUp();
}

// Tools

function capture() {
    const data = board.capture();
    if (isInApplication()) {
        report("onCaptureEnd", { data });
        say(text("pictureTaken"));
        return;
    }
    const link = document.createElement("a");
    link.href = "data:image/png;base64," + data;
    link.download = (room.isReplay ? "recording" : "whiteboard") + ".png";
    link.click();
    say(text("pictureSaved"));
}

let clearTimer = 0;
function askToClear(isAsking) {
    clearTimeout(clearTimer);
    element("clear").classList.toggle("sure", isAsking);
    show("clear-question", isAsking);
    element("clear").setAttribute("aria-label", text(isAsking ? "clearSure" : "clear"));
    if (isAsking)
        clearTimer = setTimeout(() => askToClear(false), 3000);
}

function clear() {
    const isSure = element("clear").classList.contains("sure");
    askToClear(!isSure);
    if (isSure)
        room.connection.send({ type: "clear" });
}

function choose(change) {
    Object.assign(pen, change);
    showTools();
}

function togglePanel(isShown) {
    if (!isShown && element("panel").contains(document.activeElement))
        element("people").focus();
    show("panel", isShown);
    element("people").setAttribute("aria-expanded", isShown);
}

/** Closes what has opened; the application hears of the key when there was nothing. */
function escape(event) {
    const isAsking = element("clear").classList.contains("sure");
    if (!isAsking && element("panel").hidden)
        return;
    event.preventDefault();
    if (isAsking)
        askToClear(false);
    else
        togglePanel(false);
}

function keyDown(event) {
    if (event.key === "Escape")
        escape(event);
    if (!mayDraw() || event.altKey)
        return;
    if ((event.ctrlKey || event.metaKey) && event.key.toLowerCase() === "z") {
        event.preventDefault();
        room.connection.send({ type: "undo" });
    } else if (!event.ctrlKey && !event.metaKey && event.key.toLowerCase() === "e") {
        choose({ color: "board" });
    }
}

function connectTools() {
    const canvas = element("board");
    canvas.addEventListener("pointerdown", pointerDown);
    canvas.addEventListener("pointermove", pointerMove);
    canvas.addEventListener("pointerup", pointerUp);
    canvas.addEventListener("pointercancel", pointerUp);
    document.addEventListener("touchstart", touchStart, { passive: false });
    document.addEventListener("touchmove", touchMove);
    document.addEventListener("touchend", touchEnd);
    document.addEventListener("touchcancel", touchEnd);
    for (const button of all("#pens button"))
        button.onclick = () => choose({ color: button.dataset.color });
    for (const button of all(".pen"))
        button.style.color = palette[button.dataset.color];
    for (const button of all("#widths button"))
        button.onclick = () => choose({ width: Number(button.dataset.width) });
    for (const button of all(".capture"))
        button.onclick = capture;
    element("undo").onclick = () => room.connection.send({ type: "undo" });
    element("clear").onclick = clear;
    element("record").onclick = () => room.connection.send({ type: "record", on: !room.isRecording });
    element("people").onclick = () => togglePanel(element("panel").hidden);
    all("[role=toolbar]").forEach(connectToolbar);
    document.addEventListener("keydown", keyDown);
    window.addEventListener("resize", showMembers);
}

// Replay

function clockText(milliseconds) {
    const seconds = Math.floor(milliseconds / 1000);
    return Math.floor(seconds / 60) + ":" + String(seconds % 60).padStart(2, "0");
}

function showPlayer(player) {
    // The slider has steps; the end is the end all the same.
    element("position").value = player.position < player.duration ? player.position : element("position").max;
    element("time").textContent = clockText(player.position) + " / " + clockText(player.duration);
    element("play").setAttribute("aria-label", text(player.isPlaying ? "pause" : "play"));
    element("play-icon").setAttribute("href", player.isPlaying ? "#icon-pause" : "#icon-play");
}

async function replay(source) {
    room.isReplay = true;
    showTools();
    let player = null;
    try {
        const recording = await Player.fetch(source);
        player = new Player(board, recording, () => player && showPlayer(player));
    } catch {
        fail({ code: badRecording, msg: "the recording cannot be read" });
        return;
    }
    room.player = player;
    element("room").textContent = document.title = shownText(player.room) || text("recording");
    showState("live", text("recording"));
    const step = Number(element("position").step);
    element("position").max = Math.ceil(player.duration / step) * step;
    element("position").oninput = () => player.seek(Number(element("position").value));
    element("play").onclick = () => (player.isPlaying ? player.pause() : player.play());
    loaded();
    player.play();
}

fillIn();
report("onLoadStart");
offerFunctions(room, board, queue, budget, capture);
connectTools();
showTools();
room.connection = new RoomConnection(new URLSearchParams(location.search).get("key") ?? "", listener);
room.connection.open();
