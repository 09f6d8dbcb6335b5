// Making elements. Text goes in as text only: nothing here parses markup, so no text from data can become an element.

const SvgSpace = "http://www.w3.org/2000/svg";

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (value === null || value === undefined || value === false) continue;
        if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
        else element.setAttribute(name, value === true ? "" : String(value));
    }
    for (const child of children.flat()) if (child !== null && child !== undefined) element.append(child);
    return element;
}

// make("td", {class: "figure"}, "1.2"): children are elements or texts.
export function make(name, attributes = {}, ...children) {
    return fill(document.createElement(name), attributes, children);
}

export function makeSvg(name, attributes = {}, ...children) {
    return fill(document.createElementNS(SvgSpace, name), attributes, children);
}

export function find(id) {
    return document.getElementById(id);
}

// Touches the page only if the text has changed: what has not is not laid out or read out again.
export function setText(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

export function setAttribute(element, name, value) {
    if (element.getAttribute(name) !== value) element.setAttribute(name, value);
}

// A table whose rows are replaced cell by cell, so that scrolling, selection and focus stay where they are.
// Columns: {head, unit, title, of: row => text, classOf: row => class, isText}.
export class Table {
    constructor(table, caption, columns) {
        this.columns = columns;
        this.body = make("tbody");
        const head = columns.map((column) =>
            make(
                "th",
                { scope: "col", class: column.isText ? "text" : null, title: column.title },
                column.head,
                column.unit ? make("span", { class: "unit" }, ` ${column.unit}`) : null,
            ),
        );
        table.replaceChildren(
            make("caption", { class: "unseen" }, caption),
            make("thead", {}, make("tr", {}, head)),
            this.body,
        );
    }

    show(rows) {
        while (this.body.rows.length > rows.length) this.body.lastElementChild.remove();
        while (this.body.rows.length < rows.length) {
            this.body.append(
                make(
                    "tr",
                    {},
                    this.columns.map((column, at) =>
                        at === 0
                            ? make("th", { scope: "row" })
                            : make("td", { class: column.isText ? "text" : null }),
                    ),
                ),
            );
        }
        rows.forEach((row, at) => {
            const cells = this.body.rows[at].cells;
            this.columns.forEach((column, place) => {
                const cell = cells[place];
                setText(cell, column.of(row));
                if (column.classOf) setAttribute(cell, "class", `${column.isText ? "text " : ""}${column.classOf(row)}`);
            });
        });
    }
}

// A choice that is remembered in this browser. What is stored is checked by the caller: others may have written it.
export const memory = {
    get(key, otherwise) {
        try {
            return JSON.parse(localStorage.getItem(`gnss.${key}`)) ?? otherwise;
        } catch {
            return otherwise;
        }
    },
    set(key, value) {
        try {
            localStorage.setItem(`gnss.${key}`, JSON.stringify(value));
        } catch {
            // Full or forbidden: it holds until the page is left.
        }
    },
};

// "1.23", or a dash where there is no number.
export function fixed(value, decimals) {
    if (typeof value !== "number" || !Number.isFinite(value)) return "–";
    return value.toFixed(decimals).replace("-", "−");
}

export function signed(value, decimals) {
    const text = fixed(value, decimals);
    return value > 0 ? `+${text}` : text;
}

export function whole(value) {
    return fixed(value, 0);
}

// Bytes as people say them.
export function bytes(value) {
    if (typeof value !== "number") return "–";
    const units = ["B", "kB", "MB", "GB", "TB"];
    let at = 0;
    for (; value >= 1000 && at < units.length - 1; ++at) value /= 1000;
    return `${value.toFixed(at === 0 || value >= 100 ? 0 : 1)} ${units[at]}`;
}

// "4.2 s", "3 min 05 s", "2 h 10 min", "3 d 4 h".
export function span(seconds) {
    if (typeof seconds !== "number" || !Number.isFinite(seconds)) return "–";
    const s = Math.max(0, seconds);
    if (s < 10) return `${s.toFixed(1)} s`;
    if (s < 120) return `${Math.round(s)} s`;
    const pad = (n) => String(n).padStart(2, "0");
    if (s < 7200) return `${Math.floor(s / 60)} min ${pad(Math.floor(s % 60))} s`;
    if (s < 172800) return `${Math.floor(s / 3600)} h ${pad(Math.floor((s / 60) % 60))} min`;
    return `${Math.floor(s / 86400)} d ${Math.floor((s / 3600) % 24)} h`;
}

// The clock time of "2025-01-02T03:04:05.678Z".
export function clock(utc) {
    return typeof utc === "string" && utc.length >= 19 ? utc.slice(11, 19) : "–";
}

export function date(utc) {
    return typeof utc === "string" && utc.length >= 10 ? utc.slice(0, 10) : "–";
}
