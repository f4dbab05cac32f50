// What the page says, in the languages that it speaks: the browser's if it is one of them, else English.

export const tables = {
    en: {
        title: "Whiteboard",
        room: "Room",
        connecting: "Connecting…",
        reconnecting: "Reconnecting…",
        live: "Live",
        closed: "Closed",
        recordingNow: "REC",
        peopleInRoom: "People in the room",
        you: "(you)",
        presenter: "Presenter",
        viewer: "Viewer",
        letDraw: "Let draw",
        onlyWatch: "Only watch",
        letDrawName: "Let {name} draw",
        onlyWatchName: "Let {name} only watch",
        somebody: "Somebody",
        joined: "{names} has joined",
        joinedMany: "{names} have joined",
        left: "{names} has left",
        leftMany: "{names} have left",
        and: " and ",
        comma: ", ",
        others: "{count} others",
        board: "Whiteboard",
        drawing: "Drawing",
        pen: "Pen",
        inkPen: "Black pen",
        redPen: "Red pen",
        orangePen: "Orange pen",
        greenPen: "Green pen",
        bluePen: "Blue pen",
        violetPen: "Violet pen",
        eraser: "Eraser",
        eraserKey: "Eraser (E)",
        width: "Width",
        thin: "Thin line",
        medium: "Medium line",
        thick: "Thick line",
        undo: "Undo your last stroke",
        undoKey: "Undo your last stroke (Ctrl+Z)",
        clear: "Clear the board for everybody",
        clearSure: "Press again to clear for everybody",
        capture: "Capture the board",
        record: "Record the room",
        startRecording: "Start recording",
        stopRecording: "Stop recording",
        watching: "You are watching",
        presentersDraw: "; presenters draw",
        player: "Player",
        play: "Play",
        pause: "Pause",
        position: "Position in the recording",
        recording: "Recording",
        recordingStarted: "Recording started",
        recordingEnded: "Recording ended",
        recordingLost: "The recording could not be saved",
        mayDraw: "You may draw now",
        mayWatch: "You are watching now",
        pictureTaken: "Picture taken",
        pictureSaved: "Picture saved",
        youLeft: "You have left the room",
        boardClosed: "This board is closed.",
        roomClosed: "This room is closed",
        code: "Code {code}",
        failed4001: "The room is full.",
        failed4004: "The recording cannot be read.",
        failed4040: "The key of the room is unknown or has expired.",
        failed4080: "The time is over.",
        failed4091: "You have entered the room from another place.",
        failed4500: "The connection to the room is lost.",
        notPresenter: "Only a presenter may do that.",
        boardFull: "The board is full. Clear it to draw on.",
        personGone: "That person has left.",
        notYourself: "Ask another presenter to do that.",
    },
    zh: {
        title: "白板",
        room: "房间",
        connecting: "正在连接…",
        reconnecting: "正在重新连接…",
        live: "已连接",
        closed: "已关闭",
        recordingNow: "录制中",
        peopleInRoom: "房间成员",
        you: "（我）",
        presenter: "主讲人",
        viewer: "观众",
        letDraw: "允许绘制",
        onlyWatch: "改为仅观看",
        letDrawName: "允许 {name} 绘制",
        onlyWatchName: "将 {name} 改为仅观看",
        somebody: "某人",
        joined: "{names} 已加入",
        joinedMany: "{names} 已加入",
        left: "{names} 已离开",
        leftMany: "{names} 已离开",
        and: "和",
        comma: "、",
        others: "另外 {count} 人",
        board: "白板",
        drawing: "绘制工具",
        pen: "画笔",
        inkPen: "黑色画笔",
        redPen: "红色画笔",
        orangePen: "橙色画笔",
        greenPen: "绿色画笔",
        bluePen: "蓝色画笔",
        violetPen: "紫色画笔",
        eraser: "橡皮擦",
        eraserKey: "橡皮擦 (E)",
        width: "粗细",
        thin: "细线",
        medium: "中等线",
        thick: "粗线",
        undo: "撤销上一笔",
        undoKey: "撤销上一笔 (Ctrl+Z)",
        clear: "为所有人清空白板",
        clearSure: "再按一次，为所有人清空白板",
        capture: "截取白板图片",
        record: "录制房间",
        startRecording: "开始录制",
        stopRecording: "停止录制",
        watching: "您正在观看",
        presentersDraw: "，由主讲人绘制",
        player: "播放器",
        play: "播放",
        pause: "暂停",
        position: "播放位置",
        recording: "录像",
        recordingStarted: "录制已开始",
        recordingEnded: "录制已结束",
        recordingLost: "录像未能保存",
        mayDraw: "您现在可以绘制",
        mayWatch: "您现在只能观看",
        pictureTaken: "图片已截取",
        pictureSaved: "图片已保存",
        youLeft: "您已离开房间",
        boardClosed: "此白板已关闭。",
        roomClosed: "此房间已关闭",
        code: "代码 {code}",
        failed4001: "房间人数已满。",
        failed4004: "无法读取录像。",
        failed4040: "房间密钥无效或已过期。",
        failed4080: "房间时间已到。",
        failed4091: "您已从其他位置进入此房间。",
        failed4500: "与房间的连接已断开。",
        notPresenter: "只有主讲人可以执行此操作。",
        boardFull: "白板已满，请清空后再绘制。",
        personGone: "该成员已离开。",
        notYourself: "请由另一位主讲人执行此操作。",
    },
};

/** The name of the table for the browser's languages, the preferred one first. */
export function languageOf(languages) {
    const known = languages.map((language) => language.toLowerCase().split("-")[0]);
    return known.find((language) => Object.hasOwn(tables, language)) ?? "en";
}

const language = languageOf(navigator.languages ?? [navigator.language]);

/** The text of that name, or the other one if there is none. */
export function textOr(key, other) {
    return Object.hasOwn(tables[language], key) ? text(key) : other;
}

/** A text, with values in place of the names in braces. */
export function text(key, values = {}) {
    if (!Object.hasOwn(tables[language], key))
        throw new Error("no text is called " + key);
    return tables[language][key].replace(/\{(\w+)\}/g, (_, name) => values[name]);
}

/** Puts the texts where the document names them: data-text for an element's content, data-label for its name. */
export function fillIn() {
    document.documentElement.lang = language === "zh" ? "zh-CN" : language;
    for (const element of document.querySelectorAll("[data-text]"))
        element.textContent = text(element.dataset.text);
    for (const element of document.querySelectorAll("[data-label]"))
        element.setAttribute("aria-label", text(element.dataset.label));
    for (const element of document.querySelectorAll("[data-tip]"))
        element.title = text(element.dataset.tip);
}
