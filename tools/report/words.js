"use strict";
/* exported el, table, count, short, duration, timeOf, timeNode, zone, showTimes, numberSet */

// How numbers and times are written, and nodes made.

// Texts become text nodes, never markup.
function el(tag, properties, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (typeof value === "function") node.addEventListener(name, value);
        else node.setAttribute(name, value);
    }
    node.append(...children);
    return node;
}

function count(number, noun) {
    const digits = String(number).replace(/\B(?=(\d{3})+$)/g, ",");
    return noun ? `${digits} ${noun}${number === 1 ? "" : "s"}` : digits;
}

// Large numbers as "8.01 G".
function short(number, digits = 6) {
    const size = Math.abs(number);
    const power = size >= 1e5 && size < 1e15 ? Math.floor(Math.log10(size) / 3) : 0;
    const scaled = Number((number / 1000 ** power).toPrecision(digits));
    return `${scaled}${["", " k", " M", " G", " T"][power]}`;
}

// "6 hours"
function duration(seconds) {
    const [length, noun] = [[86400, "day"], [3600, "hour"], [60, "minute"], [1, "second"]].find(
        ([each]) => seconds % each === 0);
    return count(seconds / length, noun);
}

function table(caption, headings, rows) {
    const cells = (row, tag) => row.map((cell) => el(tag, {}, cell === null ? "" : cell));
    return el("div", { class: "wide", tabindex: "0", role: "region", "aria-label": caption },
        el("table", {}, el("caption", {}, caption),
            el("thead", {}, el("tr", {},
                ...headings.map((text) => el("th", { scope: "col" }, text)))),
            el("tbody", {}, ...rows.map((row) => el("tr", {}, ...cells(row, "td"))))));
}

// Whether times are shown in the records' own offset.
const zone = { isOwn: false };

const pad = (number) => String(number).padStart(2, "0");

function offsetText(minutes) {
    const size = Math.abs(minutes);
    return `${minutes < 0 ? "-" : "+"}${pad(Math.floor(size / 60))}:${pad(size % 60)}`;
}

function timeOf(seconds, microseconds, offset) {
    const shift = zone.isOwn ? offset * 60 : 0;
    const whole = new Date((seconds + shift) * 1000).toISOString().slice(0, 19).replace("T", " ");
    const fraction = microseconds > 0
        ? `.${String(Math.min(microseconds, 999999)).padStart(6, "0")}` : "";
    return whole + fraction + (zone.isOwn ? offsetText(offset) : "Z");
}

const timeNodes = [];

function timeNode(seconds, microseconds, offset) {
    const node = el("time", {});
    timeNodes.push(() => { node.textContent = timeOf(seconds, microseconds, offset); });
    timeNodes[timeNodes.length - 1]();
    return node;
}

function showTimes(own) {
    zone.isOwn = own;
    for (const show of timeNodes) show();
}

// A test for a list such as "3,5-7,100-"; null when the text is none.
function numberSet(text) {
    const ranges = [];
    for (const part of text.split(",").map((each) => each.trim())) {
        const found = /^(\d+)(?:(-)(\d*))?$/.exec(part);
        if (!found) return text.trim() === "" ? () => true : null;
        const first = Number(found[1]);
        ranges.push([first, found[3] ? Number(found[3]) : found[2] ? Infinity : first]);
    }
    return (number) => ranges.some(([first, last]) => first <= number && number <= last);
}
