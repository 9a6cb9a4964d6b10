"use strict";
/* global count, el, numberSet, table, timeNode */
/* exported eventTable */

// The newest events, filtered as one types.

function eventRow([seconds, microseconds, offset, code, severity, text]) {
    return {
        time: seconds * 1000,
        code,
        severity,
        text: text.toLowerCase(),
        node: el("tr", {}, el("td", {}, timeNode(seconds, microseconds, offset)),
            el("td", {}, String(severity)), el("td", {}, String(code)), el("td", {}, text)),
    };
}

// The numbers that a field names; none while it makes no sense.
function numbersOf(field) {
    const set = numberSet(field.value);
    field.setAttribute("aria-invalid", String(set === null));
    return set || (() => false);
}

function eventTable(parent, log, axis) {
    const rows = log.newest.map(eventRow);
    const older = log.records - rows.length;
    const text = el("input", { type: "search" });
    const severity = el("input", { type: "search" });
    const code = el("input", { type: "search" });
    const inView = el("input", { type: "checkbox" });
    const shown = el("output", { "aria-live": "polite" });
    const filter = () => {
        const words = text.value.toLowerCase();
        const severities = numbersOf(severity);
        const codes = numbersOf(code);
        const [from, to] = inView.checked ? axis.range() : [-Infinity, Infinity];
        let number = 0;
        for (const row of rows) {
            const matches = row.text.includes(words) && severities(row.severity) &&
                codes(row.code) && row.time >= from && row.time <= to;
            row.node.hidden = !matches;
            number += Number(matches);
        }
        shown.textContent = `${count(number)} of the ${count(rows.length, "newest event")}${
            older > 0 ? `; ${count(older, "older one")} left out` : ""}`;
    };
    const form = el("form", {
        role: "search",
        "aria-label": "Filter of the events",
        input: filter,
        submit: (event) => event.preventDefault(),
    },
    el("label", {}, "Text ", text),
    el("label", {}, "Severity, such as 1 or 2-4 ", severity),
    el("label", {}, "Code, such as 7,9 or 100-199 ", code),
    el("label", {}, inView, " Only of the time that the charts show"), shown);
    const events = table("Newest events", ["time", "severity", "code", "text"], []);
    events.classList.add("events");
    events.querySelector("tbody").append(...rows.map((row) => row.node));
    parent.append(form, events);
    axis.onChange(() => { if (inView.checked) filter(); });
    filter();
}
