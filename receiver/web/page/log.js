'use strict';

// The library's lines, by level. All kept lines are in the page; the style sheet hides those below the
// level that is chosen.

const levels = ['debug', 'log', 'warn', 'err'];

/// @return the name of a level, which a trace gives as a number from 1
function levelName({ details }) {
    const level = details ? details.level : 'log';
    return levels.includes(level) ? level : levels[level - 1] || 'log';
}

class Log {
    constructor(record) {
        this.record = record;
        this.list = find('log-lines');
        this.shownId = 0;  // the last line that is in the page
        this.redraw = oncePerFrame(() => this.draw());
        find('log-level').addEventListener('change', () => this.choose());
        this.choose();
    }

    begin() {
        this.shownId = 0;
        this.list.replaceChildren();
        this.redraw();
    }

    choose() {
        this.list.dataset.level = find('log-level').value;
        this.list.scrollTop = this.list.scrollHeight;
        this.redraw();
    }

    draw() {
        const isAtEnd = this.list.scrollTop + this.list.clientHeight > this.list.scrollHeight - 8;
        const fresh = this.record.lines.filter(line => line.id > this.shownId);
        this.list.append(...fresh.map(logLine));
        while (this.list.childElementCount > this.record.lines.length)
            this.list.firstChild.remove();
        if (fresh.length > 0)
            this.shownId = fresh[fresh.length - 1].id;
        if (isAtEnd && fresh.length > 0)
            this.list.scrollTop = this.list.scrollHeight;
        this.count();
    }

    count() {
        const least = levels.indexOf(find('log-level').value);
        const shown = this.record.lines.filter(line => levels.indexOf(levelName(line)) >= least).length;
        find('log-count').textContent = `${withSeparators(shown)} of ${withSeparators(this.record.lines.length)} lines`;
    }
}

function logLine(line) {
    const text = line.text.replace(/^(debug|log|warn|err) +/, '');  // the level has a place of its own
    return element('li', { class: `level-${levelName(line)}` },
        element('span', { class: 'time' }, Number(line.time).toFixed(3)), ' ',
        element('span', { class: 'level' }, levelName(line)), ' ',
        element('bdi', null, text));
}
