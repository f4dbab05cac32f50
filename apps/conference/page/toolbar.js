// The keyboard in a row of tools: arrows go from tool to tool, Home and End to its ends.

const steps = { ArrowLeft: -1, ArrowUp: -1, ArrowRight: 1, ArrowDown: 1 };

export function connectToolbar(bar) {
    const buttons = [...bar.querySelectorAll("button")];
    bar.addEventListener("keydown", (event) => {
        const usable = buttons.filter((button) => !button.disabled);
        const at = usable.indexOf(document.activeElement);
        let next = at + steps[event.key];
        if (event.key === "Home" || event.key === "End")
            next = event.key === "Home" ? 0 : usable.length - 1;
        if (at < 0 || Number.isNaN(next))
            return;
        event.preventDefault();
        usable[(next + usable.length) % usable.length].focus();
    });
}
