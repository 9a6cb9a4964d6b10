"use strict";
/* global TimeAxis, colours, count, duration, el, eventTable, short, showTimes, table, timeNode */

// What stands on the page, from the data that the report holds.

const axes = [];

// "2026-01-31T12:00:00.250000Z" as a time that follows the choice of zone.
function timeCell(text, log) {
    if (!text) return null;
    return timeNode(Date.parse(`${text.slice(0, 19)}Z`) / 1000, Number(text.slice(20, 26)),
        log.offset || 0);
}

const isSound = (instrument) => instrument.complaintCount === 0 &&
    instrument.logs.every((log) => log.findingCount === 0);

function verdict(instrument) {
    if (!isSound(instrument)) return el("p", { class: "damaged" }, "Not sound");
    const files = instrument.logs.reduce((sum, log) => sum + log.sound, 0);
    return el("p", { class: "sound" }, `Sound: ${count(files, "file")} read, nothing found`);
}

function more(shown, all, what) {
    return all > shown ? [el("p", {}, `and ${count(all - shown)} more ${what}`)] : [];
}

function findings(instrument) {
    const list = instrument.complaints.map((text) => el("li", {}, text));
    const rows = [].concat(...instrument.logs.map((log) => log.findings.map((row) => [
        log.info.log, row.file, row.slot === null ? null : String(row.slot), row.finding])));
    return [verdict(instrument),
        ...(list.length > 0 ? [el("ul", { class: "findings" }, ...list)] : []),
        ...more(list.length, instrument.complaintCount, "messages"),
        ...(rows.length > 0
            ? [table("What verifying found", ["log", "file", "slot", "finding"], rows)] : []),
        ...more(rows.length, instrument.logs.reduce((sum, log) => sum + log.findingCount, 0),
            "findings"),
    ];
}

function logs(instrument) {
    const columns = [
        ["log", (log) => log.info.log],
        ["records", (log) => count(log.info.used)],
        ["shown here", (log) => count(log.records),
            (log) => log.records !== log.info.used],
        ["oldest", (log) => timeCell(log.info.oldest, log)],
        ["newest", (log) => timeCell(log.info.newest, log)],
        ["goes on in", (log) => log.info.next_file],
        ["wrapped", (log) => log.info.wrapped ? "yes" : "no"],
        ["files", (log) => `${count(log.info.files)} of ${count(log.info.ring_files)}`],
        ...["missing", "unfit", "hidden"].map((name) => [name, (log) => count(log.info[name]),
            (log) => log.info[name] > 0]),
        ["disk", (log) => `${count(Math.ceil(log.info.disk_bytes / 1000))} kB`],
    ].filter(([, , isNeeded]) => !isNeeded || instrument.logs.some(isNeeded));
    return table("What was read", columns.map(([heading]) => heading),
        instrument.logs.map((log) => columns.map(([, cell]) => cell(log))));
}

function zoomBar(axis, instrument, newest) {
    const button = (text, act) => el("button", { type: "button", click: act }, text);
    const spans = [["everything", 0], ["newest year", 365 * 24], ["newest 30 days", 30 * 24],
        ["newest 7 days", 7 * 24], ["newest day", 24], ["newest hour", 1]];
    const choice = el("select", {
        change: (event) => {
            const hours = Number(event.target.value);
            if (hours === 0) axis.showAll();
            else axis.show((newest - hours * 3600) * 1000, newest * 1000);
        },
    }, ...spans.map(([text, hours]) => el("option", { value: String(hours) }, text)));
    return el("div", {
        class: "toolbar",
        role: "toolbar",
        "aria-label": `Time shown of ${instrument.path}`,
    },
        button("Zoom in", () => axis.move(0, 0.5)), button("Zoom out", () => axis.move(0, 2)),
        button("Earlier", () => axis.move(-0.5, 1)), button("Later", () => axis.move(0.5, 1)),
        button("Show all", () => { choice.value = "0"; axis.showAll(); }),
        el("label", {}, "Show ", choice));
}

// draw(host, output, label) is called when the panel is part of the page and has a size.
function panel(parent, title, quantity, note, draw) {
    const output = el("output", { "aria-live": "polite" });
    const label = el("span", { class: "quantity", "aria-hidden": "true" }, quantity);
    const host = el("div", {
        class: "chart", role: "img", tabindex: "0",
        "aria-label": `${title}, ${note}; arrow keys tell the points`,
    });
    parent.append(el("figure", {},
        el("figcaption", {}, el("b", {}, title), " ", el("span", {}, note), " ", output),
        el("div", { class: "plot" }, label, host)));
    draw(host, output, label);
}

function curvePanels(parent, log, axis) {
    const quantities = [...new Set(log.curves.map((curve) => curve.quantity))];
    for (const curve of log.curves) {
        const stretches = curve.stretches.filter((stretch) => stretch);
        const least = Math.min(...stretches.map((stretch) => stretch[1]));
        const greatest = Math.max(...stretches.map((stretch) => stretch[stretch.length - 1]));
        const timed = Object.assign({ first: log.first }, curve);
        const colour = colours[quantities.indexOf(curve.quantity) % colours.length];
        panel(parent, curve.name, curve.quantity,
            `${count(curve.count, "value")}, ${short(least)} to ${short(greatest)}`,
            (host, output) => axis.addCurve(host, timed, colour, output));
    }
    const rest = log.curveCount - log.curves.length;
    const notes = [
        log.width > 1 && `A point stands for ${duration(log.width)}: the line goes through the ` +
            "means, the band from the least to the greatest.",
        log.notFinite > 0 && `Left out: ${count(log.notFinite, "value")}, not finite.`,
        !log.complete && "Very many curves: some of those with few values are not complete.",
        rest > 0 && `Not drawn: ${count(rest, "curve")} with fewer values; choose with --channel ` +
            `or --lamp: ${log.others.join(", ")}${rest > log.others.length ? ", …" : ""}`,
    ];
    for (const note of notes) if (note) parent.append(el("p", { class: "note" }, note));
}

function events(parent, log, axis) {
    const names = log.curves.map((curve) => curve.name);
    parent.append(el("ul", { class: "key" }, ...log.curves.map((curve, i) => {
        const mark = el("span", { class: "mark" });
        mark.style.background = colours[i % colours.length];
        return el("li", {}, mark, `${curve.name}: ${count(curve.count)}`);
    })));
    panel(parent, "Events over time", "events", count(log.records, "event"),
        (...parts) => axis.addCounts(log.counts, log.width, names, ...parts));
    parent.append(table(`Most frequent of ${count(log.differentCodes, "code")}`,
        ["code", "events", "severity of the newest", "text of the newest", "its time"],
        log.codes.map(([seconds, microseconds, offset, code, severity, text, number]) => [
            String(code), count(number), String(severity), text,
            timeNode(seconds, microseconds, offset)])));
    eventTable(parent, log, axis);
}

function lamps(parent, log, axis) {
    parent.append(table("Newest figures", ["lamp", "burning hours", "ignitions", "time"],
        log.lamps.map(([seconds, microseconds, offset, lamp, milliseconds, ignitions]) => [
            String(lamp), String(Number((milliseconds / 3600e3).toFixed(2))), count(ignitions),
            timeNode(seconds, microseconds, offset)])));
    curvePanels(parent, log, axis);
}

function section(instrument, i) {
    const parent = el("section", { id: `instrument-${i}`, "aria-labelledby": `name-${i}` },
        el("h2", { id: `name-${i}` }, instrument.path), ...findings(instrument));
    document.getElementById("report").append(parent);
    if (instrument.logs.length > 0) parent.append(logs(instrument));
    const filled = instrument.logs.filter((log) => log.records > 0);
    if (filled.length === 0) {
        parent.append(el("p", {}, "No records to show."));
        return;
    }
    const newest = Math.max(...filled.map((log) => log.newestTime));
    const axis = new TimeAxis(Math.min(...filled.map((log) => log.first)),
        Math.max(...filled.map((log) => log.last)),
        filled.find((log) => log.newestTime === newest).offset);
    axes.push(axis);
    parent.append(zoomBar(axis, instrument, newest));
    const draw = { events, lamps, measurements: curvePanels };
    for (const log of filled) {
        parent.append(el("h3", {}, log.info.log));
        draw[log.kind](parent, log, axis);
    }
    axis.join();
}

function build() {
    const report = JSON.parse(document.getElementById("data").textContent);
    document.getElementById("written").append("Written ", timeNode(report.written, 0, 0),
        ` by veklogs ${report.version}`);
    if (report.instruments.length > 1) {
        const links = report.instruments.map((instrument, i) => el("li", {},
            el("a", { href: `#instrument-${i}` }, instrument.path), " ", verdict(instrument)));
        document.getElementById("report").append(
            el("nav", { "aria-label": "Instruments" }, el("ul", {}, ...links)));
    }
    report.instruments.forEach(section);
    document.getElementById("own-offset").addEventListener("change", (event) => {
        showTimes(event.target.checked);
        for (const axis of axes) axis.redraw();
    });
    const PaperWidth = 680;
    window.addEventListener("beforeprint", () => axes.forEach((axis) => axis.fitTo(PaperWidth)));
    window.addEventListener("afterprint", () => axes.forEach((axis) => axis.fitTo(Infinity)));
}

build();
