'use strict';

// What happened against time, on parallel lanes, with the records of what is in view below.

const lanes = [
    { name: 'air', label: 'Air', sources: ['air'] },
    { name: 'library', label: 'Application manager', sources: ['library'] },
    { name: 'browser', label: 'Browser', sources: ['browser', 'script'] },
    { name: 'platform', label: 'Platform', sources: ['platform'] },
    { name: 'user', label: 'User', sources: ['user'] },
    { name: 'receiver', label: 'Receiver', sources: ['receiver'] },
    { name: 'decision', label: 'Decisions', sources: ['decision'] },
];
const laneHeight = 26;
const axisHeight = 22;
const margin = 10;  // left and right of the marks
const reach = 12;  // a click this near to a mark, in pixels, is meant for it
const shortestView = 0.0001;  // seconds
const listedRecords = 200;

/// @return the index of a record's lane; -1 for one that has none
function laneOf({ source }) {
    return lanes.findIndex(({ sources }) => sources.includes(source));
}

/// Something that was refused, or went wrong.
function isBad({ event, details }) {
    if (event === 'decision')
        return Boolean(details) && details.verdict === false;
    return /failed|error|problem|reject|missing|not-started|gone|malformed/.test(event);
}

function sentenceOf(happening) {
    return `${seconds(happening.time)}, ${happening.source}: ${happening.text.trim()}`;
}

class Timeline {
    /// @param root an empty element, in which it builds itself
    constructor(root, record) {
        this.record = record;
        this.hiddenLanes = new Set();
        this.filter = '';
        this.selectedId = 0;
        this.view = null;  // {from, to} in seconds; null: everything
        this.isFollowing = true;
        this.redraw = oncePerFrame(() => this.draw());
        this.build(root);
        this.listen();
        this.redraw();
    }

    /// Another run has begun, which counts its records anew.
    begin() {
        this.selectedId = 0;
        this.list.replaceChildren();
        this.showRecord(null);
        this.showAll();
    }

    build(root) {
        this.canvas = element('canvas', { tabindex: 0, role: 'slider', 'aria-label': 'Timeline', 'aria-describedby': 'timeline-help' });
        this.span = element('output', { class: 'hint', 'aria-live': 'off' });
        this.details = element('div', { class: 'record', tabindex: 0, role: 'region', 'aria-label': 'Record' });
        this.list = element('ol', { class: 'lines', tabindex: 0, role: 'list', 'aria-label': 'Records in view' });
        this.filterBox = element('input', { type: 'search', id: 'timeline-filter', autocomplete: 'off', maxlength: 200 });
        const button = (name, label) => {
            this[name] = element('button', { type: 'button', class: 'small' }, label);
            return this[name];
        };
        this.boxes = lanes.map(lane => element('input', { type: 'checkbox', value: lane.name }));
        this.boxes.forEach(box => { box.checked = true; });
        root.append(
            element('div', { class: 'tools' },
                element('label', { for: 'timeline-filter' }, 'Filter'), this.filterBox,
                button('zoomInButton', 'Zoom in'), button('zoomOutButton', 'Zoom out'), button('allButton', 'All'),
                button('followButton', 'Follow'), this.span),
            element('div', { class: 'lanes' },
                element('fieldset', { class: 'lane-names' }, element('legend', { class: 'for-readers' }, 'Lanes'),
                    lanes.map((lane, index) => element('label', { class: `lane-${lane.name}` }, this.boxes[index], ' ', lane.label))),
                element('div', { class: 'lane-marks' }, this.canvas)),
            element('p', { class: 'hint', id: 'timeline-help' }, 'A click shows the record. Drag to move, Ctrl and the wheel to zoom. ' +
                'With the keyboard: left and right go from record to record, up and down between lanes, + and − zoom.'),
            element('div', { class: 'columns' }, this.list, this.details));
        this.showRecord(null);
    }

    listen() {
        this.filterBox.addEventListener('input', () => {
            this.filter = this.filterBox.value.trim().toLowerCase();
            this.redraw();
        });
        this.zoomInButton.addEventListener('click', () => this.zoom(1 / 2));
        this.zoomOutButton.addEventListener('click', () => this.zoom(2));
        this.allButton.addEventListener('click', () => this.showAll());
        this.followButton.addEventListener('click', () => this.follow(!this.isFollowing));
        this.boxes.forEach(box => box.addEventListener('change', () => this.toggleLane(box.value, box.checked)));
        this.list.addEventListener('click', event => {
            const button = event.target.closest('button');
            if (button)
                this.select(this.record.happenings.find(one => one.id === Number(button.dataset.id)));
        });
        this.canvas.addEventListener('keydown', event => this.pressed(event));
        this.canvas.addEventListener('wheel', event => this.turned(event), { passive: false });
        this.canvas.addEventListener('pointerdown', event => this.grabbed(event));
        new ResizeObserver(this.redraw).observe(this.canvas.parentElement);
        matchMedia('(prefers-color-scheme: dark)').addEventListener('change', this.redraw);
    }

    // What is shown

    toggleLane(name, isShown) {
        if (isShown)
            this.hiddenLanes.delete(name);
        else
            this.hiddenLanes.add(name);
        this.redraw();
    }

    matches(happening) {
        const lane = lanes[laneOf(happening)];
        return Boolean(lane) && !this.hiddenLanes.has(lane.name) &&
            (this.filter === '' || `${happening.event} ${happening.text}`.toLowerCase().includes(this.filter));
    }

    matching() { return this.record.happenings.filter(happening => this.matches(happening)); }

    /// @return the time of everything that is kept
    wholeSpan() {
        const kept = this.record.happenings;
        const from = kept.length > 0 ? kept[0].time : 0;
        const to = kept.length > 0 ? kept[kept.length - 1].time : 0;
        return { from, to: Math.max(to, from + shortestView) };
    }

    currentView() {
        const whole = this.wholeSpan();
        if (!this.view)
            return whole;
        if (this.isFollowing)
            this.view = { from: whole.to - (this.view.to - this.view.from), to: whole.to };
        return this.view;
    }

    showAll() {
        this.view = null;
        this.follow(true);
    }

    follow(isFollowing) {
        if (!isFollowing && !this.view)
            this.view = this.wholeSpan();
        this.isFollowing = isFollowing;
        this.redraw();
    }

    /// @param factor of the time that is in view
    /// @param centre the time that stays where it is; the selected record's, else the end of what is followed
    zoom(factor, centre = this.zoomCentre()) {
        const { from, to } = this.currentView();
        const whole = this.wholeSpan();
        const length = Math.max((to - from) * factor, shortestView);
        const start = centre - (centre - from) * length / (to - from);
        this.isFollowing = this.isFollowing && centre === to;
        this.view = length < whole.to - whole.from ? { from: start, to: start + length } : null;
        this.redraw();
    }

    zoomCentre() {
        const { from, to } = this.currentView();
        const selected = this.selected();
        if (selected && selected.time >= from && selected.time <= to)
            return selected.time;
        return this.isFollowing && this.view ? to : (from + to) / 2;
    }

    move(duration) {
        const { from, to } = this.currentView();
        this.view = { from: from + duration, to: to + duration };
        this.isFollowing = false;
        this.redraw();
    }

    // One record

    selected() { return this.record.happenings.find(one => one.id === this.selectedId); }

    select(happening) {
        if (!happening)
            return;
        this.selectedId = happening.id;
        this.isListDue = true;  // to be scrolled to it
        const { from, to } = this.currentView();
        if (happening.time < from || happening.time > to)
            this.move(happening.time - (from + to) / 2);
        this.showRecord(happening);
        this.redraw();
    }

    showRecord(happening) {
        if (!happening) {
            update(this.details, element('p', { class: 'none' }, 'No record is chosen.'));
            return;
        }
        const facts = [['Time', seconds(happening.time)], ['Source', happening.source], ['Event', happening.event],
            ['Text', happening.text], ...Object.entries(happening.details || {}).map(([name, value]) =>
                [name, typeof value === 'string' ? value : JSON.stringify(value)])];
        update(this.details, element('dl', null, facts.map(([name, value]) =>
            [element('dt', null, element('bdi', null, name)), element('dd', null, element('bdi', null, value))])));
    }

    // Pointer and keyboard

    grabbed(event) {
        if (event.button !== 0)
            return;
        const start = event.clientX;
        const place = [event.offsetX, event.offsetY];
        const view = this.currentView();
        let hasMoved = false;
        const drag = moved => {
            const distance = moved.clientX - start;
            hasMoved = hasMoved || Math.abs(distance) > 4;
            if (!hasMoved)
                return;
            const duration = -distance * (view.to - view.from) / this.usableWidth();
            this.view = { from: view.from + duration, to: view.to + duration };
            this.isFollowing = false;
            this.redraw();
        };
        const release = () => {
            this.canvas.removeEventListener('pointermove', drag);
            if (!hasMoved)
                this.select(this.nearestTo(...place));
        };
        this.canvas.setPointerCapture(event.pointerId);
        this.canvas.addEventListener('pointermove', drag);
        this.canvas.addEventListener('lostpointercapture', release, { once: true });
    }

    turned(event) {
        if (event.ctrlKey || event.metaKey) {
            event.preventDefault();
            this.zoom(event.deltaY > 0 ? 1.25 : 0.8, this.timeAt(event.offsetX));
        } else if (event.deltaX !== 0) {
            event.preventDefault();
            const { from, to } = this.currentView();
            this.move(event.deltaX * (to - from) / this.usableWidth());
        }
    }

    pressed(event) {
        const action = {
            ArrowRight: () => this.step(1), ArrowLeft: () => this.step(-1),
            PageDown: () => this.step(10), PageUp: () => this.step(-10),
            Home: () => this.step(-Infinity), End: () => this.step(Infinity),
            ArrowDown: () => this.stepLane(1), ArrowUp: () => this.stepLane(-1),
            '+': () => this.zoom(1 / 2), '=': () => this.zoom(1 / 2), '-': () => this.zoom(2),
        }[event.key];
        if (!action || event.ctrlKey || event.altKey || event.metaKey)
            return;
        event.preventDefault();
        action();
    }

    step(count) {
        const records = this.matching();
        const index = records.findIndex(one => one.id === this.selectedId);
        const next = (index < 0 && count < 0 ? records.length : index) + count;
        this.select(records[Math.min(Math.max(next, 0), records.length - 1)]);
    }

    /// Goes on to the next lane that has records, to the one that is nearest in time.
    stepLane(direction) {
        const selected = this.selected();
        if (!selected)
            return this.step(1);
        const records = this.matching();
        for (let lane = laneOf(selected) + direction; lane >= 0 && lane < lanes.length; lane += direction) {
            const nearest = nearestOf(records.filter(one => laneOf(one) === lane), one => Math.abs(one.time - selected.time));
            if (nearest)
                return this.select(nearest);
        }
    }

    // Where things are

    usableWidth() { return Math.max(1, this.canvas.clientWidth - 2 * margin); }

    xOf(time, { from, to } = this.currentView()) { return margin + (time - from) / (to - from) * this.usableWidth(); }

    timeAt(x) {
        const { from, to } = this.currentView();
        return from + (x - margin) / this.usableWidth() * (to - from);
    }

    /// @return where the middle of a record's mark is, in pixels of the canvas
    placeOf(happening) {
        return { x: this.xOf(happening.time), y: (laneOf(happening) + 0.5) * laneHeight };
    }

    nearestTo(x, y) {
        const lane = Math.floor(y / laneHeight);
        const view = this.currentView();
        const distance = one => Math.abs(this.xOf(one.time, view) - x);
        const nearest = nearestOf(this.matching().filter(one => laneOf(one) === lane), distance);
        return nearest && distance(nearest) <= reach ? nearest : null;
    }

    // Drawing

    draw() {
        const view = this.currentView();
        const records = this.matching();
        const seen = records.filter(one => one.time >= view.from && one.time <= view.to);
        this.span.textContent = `${seconds(view.from)} to ${seconds(view.to)}, ` +
            `${withSeparators(seen.length)} of ${withSeparators(this.record.happenings.length)} records` +
            (this.record.dropped > 0 ? `, ${withSeparators(this.record.dropped)} older ones not kept` : '');
        this.followButton.setAttribute('aria-pressed', String(this.isFollowing));
        this.describe(records);
        this.paint(view, seen);
        this.listRecords(seen);
    }

    describe(records) {
        const index = records.findIndex(one => one.id === this.selectedId);
        this.canvas.setAttribute('aria-valuemin', '0');
        this.canvas.setAttribute('aria-valuemax', String(records.length));
        this.canvas.setAttribute('aria-valuenow', String(index + 1));
        this.canvas.setAttribute('aria-valuetext', index < 0 ? `no record chosen of ${records.length}` : visible(sentenceOf(records[index])));
    }

    listRecords(seen) {
        const isAtEnd = this.list.scrollTop + this.list.clientHeight > this.list.scrollHeight - 8;
        const index = seen.findIndex(one => one.id === this.selectedId);
        const end = index < 0 ? seen.length : Math.min(seen.length, index + listedRecords / 2);
        updateList(this.list, seen.slice(Math.max(0, end - listedRecords), end), one => one.id, recordLine);
        for (const line of this.list.querySelectorAll('[aria-current]'))
            line.removeAttribute('aria-current');
        const selected = this.list.querySelector(`button[data-id="${this.selectedId}"]`);
        if (selected)
            selected.setAttribute('aria-current', 'true');
        if (selected && this.isListDue)
            showInList(this.list, selected);
        else if (isAtEnd && this.isFollowing)
            this.list.scrollTop = this.list.scrollHeight;
        this.isListDue = false;
    }

    paint(view, seen) {
        const width = this.canvas.parentElement.clientWidth;
        const height = lanes.length * laneHeight + axisHeight;
        const density = window.devicePixelRatio || 1;
        const pixels = [Math.round(width * density), Math.round(height * density)];
        if (this.canvas.width !== pixels[0] || this.canvas.height !== pixels[1])
            [this.canvas.width, this.canvas.height] = pixels;
        this.canvas.style.width = `${width}px`;
        this.canvas.style.height = `${height}px`;
        const painter = new LanePainter(this.canvas, density, width, height);
        painter.axis(view, time => this.xOf(time, view));
        lanes.forEach((lane, index) => {
            const marks = seen.filter(one => laneOf(one) === index);
            painter.lane(index, lane.name, marks, marks.map(one => this.xOf(one.time, view)));
        });
        const selected = this.selected();
        if (selected && this.matches(selected))
            painter.cursor(this.xOf(selected.time, view), laneOf(selected));
    }
}

function nearestOf(records, distance) {
    return records.reduce((best, one) => best && distance(best) <= distance(one) ? best : one, null);
}

/// Scrolls a list, and never the page, as little as it takes to see one of its lines.
function showInList(list, line) {
    const frame = list.getBoundingClientRect();
    const place = line.getBoundingClientRect();
    if (place.top < frame.top)
        list.scrollTop -= frame.top - place.top + 4;
    else if (place.bottom > frame.bottom)
        list.scrollTop += place.bottom - frame.bottom + 4;
}

function recordLine(happening) {
    const lane = lanes[laneOf(happening)];
    return element('li', { class: isBad(happening) ? 'bad' : null },
        element('button', { type: 'button', 'data-id': happening.id },
            element('span', { class: 'time' }, Number(happening.time).toFixed(3)), ' ',
            element('span', { class: `source lane-${lane.name}` }, happening.source), ' ',
            element('bdi', null, happening.text.trim())));
}
