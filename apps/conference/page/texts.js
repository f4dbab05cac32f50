// What the page says, in the languages that it speaks: the browser's if it is one of them, else English.

const languages = ["en", "zh"];

/** Each text in every language. */
export const texts = {
    title: ["Whiteboard", "白板"],
    room: ["Room", "房间"],
    connecting: ["Connecting…", "正在连接…"],
    reconnecting: ["Reconnecting…", "正在重新连接…"],
    live: ["Live", "已连接"],
    closed: ["Closed", "已关闭"],
    recordingNow: ["REC", "录制中"],
    peopleInRoom: ["People in the room", "房间成员"],
    you: ["(you)", "（我）"],
    presenter: ["Presenter", "主讲人"],
    viewer: ["Viewer", "观众"],
    letDraw: ["Let draw", "允许绘制"],
    onlyWatch: ["Only watch", "改为仅观看"],
    letDrawName: ["Let {name} draw", "允许 {name} 绘制"],
    onlyWatchName: ["Let {name} only watch", "将 {name} 改为仅观看"],
    somebody: ["Somebody", "某人"],
    joined: ["{names} has joined", "{names} 已加入"],
    joinedMany: ["{names} have joined", "{names} 已加入"],
    left: ["{names} has left", "{names} 已离开"],
    leftMany: ["{names} have left", "{names} 已离开"],
    and: [" and ", "和"],
    comma: [", ", "、"],
    others: ["{count} others", "另外 {count} 人"],
    board: ["Whiteboard", "白板"],
    drawing: ["Drawing", "绘制工具"],
    pen: ["Pen", "画笔"],
    inkPen: ["Black pen", "黑色画笔"],
    redPen: ["Red pen", "红色画笔"],
    orangePen: ["Orange pen", "橙色画笔"],
    greenPen: ["Green pen", "绿色画笔"],
    bluePen: ["Blue pen", "蓝色画笔"],
    violetPen: ["Violet pen", "紫色画笔"],
    eraser: ["Eraser", "橡皮擦"],
    eraserKey: ["Eraser (E)", "橡皮擦 (E)"],
    width: ["Width", "粗细"],
    thin: ["Thin line", "细线"],
    medium: ["Medium line", "中等线"],
    thick: ["Thick line", "粗线"],
    undo: ["Undo your last stroke", "撤销上一笔"],
    undoKey: ["Undo your last stroke (Ctrl+Z)", "撤销上一笔 (Ctrl+Z)"],
    clear: ["Clear the board for everybody", "为所有人清空白板"],
    clearSure: ["Press again to clear for everybody", "再按一次，为所有人清空白板"],
    capture: ["Capture the board", "截取白板图片"],
    record: ["Record the room", "录制房间"],
    startRecording: ["Start recording", "开始录制"],
    stopRecording: ["Stop recording", "停止录制"],
    watching: ["You are watching", "您正在观看"],
    presentersDraw: ["; presenters draw", "，由主讲人绘制"],
    player: ["Player", "播放器"],
    play: ["Play", "播放"],
    pause: ["Pause", "暂停"],
    position: ["Position in the recording", "播放位置"],
    recording: ["Recording", "录像"],
    recordingStarted: ["Recording started", "录制已开始"],
    recordingEnded: ["Recording ended", "录制已结束"],
    recordingLost: ["The recording could not be saved", "录像未能保存"],
    mayDraw: ["You may draw now", "您现在可以绘制"],
    mayWatch: ["You are watching now", "您现在只能观看"],
    pictureTaken: ["Picture taken", "图片已截取"],
    pictureSaved: ["Picture saved", "图片已保存"],
    youLeft: ["You have left the room", "您已离开房间"],
    boardClosed: ["This board is closed.", "此白板已关闭。"],
    roomClosed: ["This room is closed", "此房间已关闭"],
    code: ["Code {code}", "代码 {code}"],
    failed4001: ["The room is full.", "房间人数已满。"],
    failed4004: ["The recording cannot be read.", "无法读取录像。"],
    failed4040: ["The key of the room is unknown or has expired.", "房间密钥无效或已过期。"],
    failed4080: ["The time is over.", "房间时间已到。"],
    failed4091: ["You have entered the room from another place.", "您已从其他位置进入此房间。"],
    failed4500: ["The connection to the room is lost.", "与房间的连接已断开。"],
    notPresenter: ["Only a presenter may do that.", "只有主讲人可以执行此操作。"],
    boardFull: ["The board is full. Clear it to draw on.", "白板已满，请清空后再绘制。"],
    personGone: ["That person has left.", "该成员已离开。"],
    notYourself: ["Ask another presenter to do that.", "请由另一位主讲人执行此操作。"],
};

/** The one of the page's languages for the browser's, the preferred one first. */
export function languageOf(preferred) {
    return preferred.map((language) => language.toLowerCase().split("-")[0]).find((language) => languages.includes(language))
        ?? "en";
}

const language = languageOf(navigator.languages ?? [navigator.language]);

/** The text of that name, or the other one if there is none. */
export function textOr(key, other) {
    return Object.hasOwn(texts, key) ? text(key) : other;
}

/** A text, with values in place of the names in braces. */
export function text(key, values = {}) {
    if (!Object.hasOwn(texts, key))
        throw new Error("no text is called " + key);
    return texts[key][languages.indexOf(language)].replace(/\{(\w+)\}/g, (_, name) => values[name]);
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
