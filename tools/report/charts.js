"use strict";
/* global Dygraph, count, duration, short, timeOf, zone */
/* exported TimeAxis, colours */

// The charts of an instrument, over one time axis.

// Visible on white and on black.
const colours = ["#2a7fbf", "#d0661b", "#1f9e77", "#b865a0", "#a6811a", "#4aa3d8", "#808080",
    "#8a6bbe", "#9a8f1c"];

const Second = 1000;

// Of bars, in seconds; each divides the next.
const Widths = [1, 5, 15, 30, 60, 300, 900, 1800, 3600, 7200, 21600, 43200];
for (let days = 1; days < 1e5; days *= 2) Widths.push(days * 86400);
const MostBars = 200;

// The others write styles and markup of their own, which the page forbids.
Dygraph.PLUGINS = [Dygraph.Plugins.Axes, Dygraph.Plugins.Grid];

function axisLabel(date) {
    const text = date.toISOString();
    if (text.slice(11, 19) === "00:00:00") return text.slice(0, 10);
    return text.slice(11, text.slice(17, 19) === "00" ? 16 : 19);
}

// A line through the means does not show a lone spike, and the band around it is too
// thin there.
function extremesPlotter(e) {
    const context = e.drawingContext;
    context.strokeStyle = e.color;
    context.globalAlpha = 0.35;
    context.lineWidth = 1;
    context.beginPath();
    for (const point of e.points) {
        if (!(point.yval_minus < point.yval_plus)) continue;
        context.moveTo(point.canvasx, e.plotArea.y + point.y_top * e.plotArea.h);
        context.lineTo(point.canvasx, e.plotArea.y + point.y_bottom * e.plotArea.h);
    }
    context.stroke();
    context.globalAlpha = 1;
}

// Each point is the begin of a bar that is width milliseconds wide.
function barPlotter(e, width) {
    const chart = e.dygraph;
    const pixels = chart.toDomXCoord(width) - chart.toDomXCoord(0);
    e.drawingContext.fillStyle = e.color;
    for (const point of e.points) {
        if (!point.yval) continue;
        const height = chart.toDomYCoord(0) - chart.toDomYCoord(point.yval);
        e.drawingContext.fillRect(point.canvasx, point.canvasy,
            Math.max(1, pixels - (pixels > 4 ? 1 : 0)), height);
    }
}

// Sums of the counts of stretches of width seconds, for bars of bar milliseconds.
function bars(counts, width, bar) {
    const sums = new Map();
    for (const [index, ...row] of counts) {
        const x = Math.floor(index * width * Second / bar) * bar;
        const sum = sums.get(x);
        if (sum) row.forEach((number, i) => { sum[i] += number; });
        else sums.set(x, row);
    }
    return [...sums].map(([x, row]) => [x, ...row]);
}

class TimeAxis {
    constructor(from, to, offset) {
        this.from = from * Second;
        this.to = Math.max(to, from + 1) * Second;
        this.offset = offset;
        this.charts = [];
        this.callbacks = [];
    }

    shift() {
        return zone.isOwn ? this.offset * 60 * Second : 0;
    }

    // Round times are round in the zone that is shown.
    ticks(from, to, pixels, options, chart) {
        const shift = this.shift();
        return Dygraph.dateTicker(from + shift, to + shift, pixels, options, chart)
            .map((tick) => Object.assign(tick, { v: tick.v - shift }));
    }

    timeText(milliseconds) {
        return timeOf(Math.round(milliseconds / Second), 0, this.offset);
    }

    add(host, rows, output, describe, options) {
        const readout = {
            select: (e) => { output.textContent = describe(e.selectedX, e.selectedPoints); },
            deselect: () => { output.textContent = ""; },
        };
        const isCount = Boolean(options.stackedGraph);
        const chart = new Dygraph(host, rows, Object.assign({
            axes: {
                x: {
                    ticker: this.ticks.bind(this),
                    axisLabelFormatter: axisLabel,
                    pixelsPerLabel: 90,
                    axisLabelWidth: 80,
                },
                y: {
                    axisLabelFormatter: (value) => isCount && value % 1 ? "" : short(value),
                    axisLabelWidth: 64,
                    pixelsPerLabel: 30,
                },
            },
            labelsUTC: true,
            legend: "never",
            gridLineColor: "rgba(128,128,128,0.3)",
            axisLineColor: "rgba(128,128,128,0.6)",
            xRangePad: 8,
            yRangePad: 6,
            plugins: [{ activate: () => readout, destroy() {}, toString: () => "readout" }],
        }, options));
        host.addEventListener("keydown", (event) => this.onKey(event, chart));
        this.charts.push(chart);
        return chart;
    }

    // The arrow keys go from point to point.
    onKey(event, chart) {
        const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
        if (!step) return;
        event.preventDefault();
        const [from, to] = chart.xAxisRange();
        const isShown = (row) => {
            const x = chart.getValue(row, 0);
            return x >= from && x <= to && chart.getValue(row, 1) !== null;
        };
        const last = chart.numRows() - 1;
        let row = chart.getSelection();
        if (row < 0) row = step > 0 ? -1 : last + 1;
        do row += step; while (row >= 0 && row <= last && !isShown(row));
        if (row >= 0 && row <= last) chart.setSelection(row);
    }

    addCurve(host, curve, colour, output) {
        const rows = [[this.from, null]];
        for (const stretch of curve.stretches) {
            const x = stretch ? (curve.first + stretch[0]) * Second : rows[rows.length - 1][0] + 1;
            const values = stretch && (stretch.length > 2 ? stretch.slice(1)
                : [stretch[1], stretch[1], stretch[1]]);
            rows.push([x, values || null]);
        }
        rows.push([this.to, null]);
        const describe = (x, [point]) => {
            const band = point.yval_minus < point.yval_plus
                ? ` (${short(point.yval_minus)} to ${short(point.yval_plus)})` : "";
            return `${this.timeText(x)}: ${short(point.yval)}${band}`;
        };
        return this.add(host, rows, output, describe, {
            labels: ["time", "value"],
            customBars: true,
            fillAlpha: 0.35,
            colors: [colour],
            plotter: [Dygraph.Plotters.errorPlotter, extremesPlotter, Dygraph.Plotters.linePlotter],
            drawGapEdgePoints: true,
            drawPoints: curve.stretches.length < 100,
            pointSize: 2,
        });
    }

    // counts: [stretch, events of the first severity, ...] for stretches of width seconds.
    addCounts(counts, width, names, host, output, label) {
        let bar = 0;
        const rows = () => {
            const none = names.map(() => null);
            return [[this.from, ...none], ...bars(counts, width, bar), [this.to, ...none]]
                .sort((left, right) => left[0] - right[0]);
        };
        // Bars are as wide as one or more stretches, and wide enough to be seen.
        const adjust = (chart) => {
            const [from, to] = chart ? chart.xAxisRange() : [this.from, this.to];
            const wanted = Second * Widths.find((each) => each >= width &&
                (to - from) / MostBars <= each * Second);
            if (wanted === bar) return;
            bar = wanted;
            label.textContent = `events in ${duration(bar / Second)}`;
            if (chart) chart.updateOptions({ file: rows() });
        };
        const describe = (x, points) => {
            const numbers = points.filter((point) => point.yval).map(
                (point) => `${count(point.yval)} of ${point.name}`);
            return `${this.timeText(x)} to ${this.timeText(x + bar)}: ${numbers.join(", ")}`;
        };
        adjust(null);
        return this.add(host, rows(), output, describe, {
            labels: ["time", ...names],
            colors: names.map((name, i) => colours[i % colours.length]),
            stackedGraph: true,
            includeZero: true,
            plotter: (e) => barPlotter(e, bar),
            highlightCircleSize: 0,
            drawCallback: adjust,
        });
    }

    // Calls back whenever another time is shown.
    onChange(callback) {
        this.callbacks.push(callback);
    }

    join() {
        const [first] = this.charts;
        const drawn = first.getFunctionOption("drawCallback");
        first.updateOptions({
            drawCallback: (...all) => {
                if (drawn) drawn(...all);
                for (const callback of this.callbacks) callback();
            },
        }, true);
        if (this.charts.length > 1) Dygraph.synchronize(this.charts, { range: false });
    }

    range() {
        return this.charts[0].xAxisRange();
    }

    show(from, to) {
        for (const chart of this.charts) chart.updateOptions({ dateWindow: [from, to] });
    }

    showAll() {
        for (const chart of this.charts) chart.updateOptions({ dateWindow: null });
    }

    // The middle moves by a share of what is shown, which grows by a factor.
    move(share, factor) {
        const [from, to] = this.range();
        const middle = (from + to) / 2 + share * (to - from);
        const half = Math.max((to - from) * factor, Second) / 2;
        this.show(middle - half, middle + half);
    }

    redraw() {
        for (const chart of this.charts) chart.updateOptions({});
    }

    // A canvas that is redrawn while the page is laid out for paper stays blank there.
    fitTo(width) {
        for (const { graphDiv } of this.charts) {
            graphDiv.style.zoom = Math.min(1, width / graphDiv.clientWidth);
        }
    }
}
