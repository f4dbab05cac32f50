// The application's view edits the page's head with a `$` selector function once the document is there. This is that
// function, no more.
window.$ = (selector) => {
    const elements = [...document.querySelectorAll(selector)];
    return {
        remove() { elements.forEach((element) => element.remove()); },
        append(html) { elements.forEach((element) => element.insertAdjacentHTML("beforeend", html)); },
    };
};
