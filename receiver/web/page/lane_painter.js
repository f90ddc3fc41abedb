'use strict';

// Paints the lanes of the timeline in the style sheet's colours.

const roomForWords = 48;  // pixels to the next mark

class LanePainter {
    constructor(canvas, density, width, height) {
        const style = getComputedStyle(canvas);
        this.colour = name => style.getPropertyValue(`--${name}`).trim();
        this.font = `11px ${style.fontFamily}`;
        this.width = width;
        this.height = height;
        this.context = canvas.getContext('2d');
        this.context.setTransform(density, 0, 0, density, 0, 0);
        this.context.clearRect(0, 0, width, height);
        this.context.textBaseline = 'middle';
        this.context.font = this.font;
    }

    axis({ from, to }, xOf) {
        const step = roundStep((to - from) * 90 / this.width);
        const decimals = Math.max(0, -Math.floor(Math.log10(step)));
        const top = this.height - axisHeight;
        for (let n = Math.ceil(from / step); n * step <= to; ++n) {
            const x = Math.round(xOf(n * step));
            this.fill('rule', x, 0, 1, top + 4);
            this.words(`${(n * step).toFixed(decimals)} s`, x + 3, top + axisHeight / 2, 90, 'faint');
        }
    }

    /// @param places x of each mark
    lane(index, name, marks, places) {
        const middle = (index + 0.5) * laneHeight;
        this.fill('rule', 0, Math.round((index + 1) * laneHeight) - 1, this.width, 1);
        let end = -1;  // of what was painted last: marks at one place are painted once
        marks.forEach((mark, n) => {
            const x = places[n];
            const isOfNote = isBad(mark);
            if (x - end < 1 && !isOfNote)
                return;
            this.mark(x, middle, isOfNote, name);
            end = x;
            const room = (n + 1 < places.length ? places[n + 1] : this.width) - x;
            if (room > roomForWords)
                this.words(visible(mark.event), x + 6, middle, room - 12, 'text');
        });
    }

    mark(x, middle, isOfNote, name) {
        this.fill(isOfNote ? 'bad' : `lane-${name}`, x - 1.5, middle - 8, 3, 16);
        if (!isOfNote)
            return;
        this.context.beginPath();  // by its form, too, not only by its colour
        this.context.moveTo(x - 5, middle - 9);
        this.context.lineTo(x + 5, middle - 9);
        this.context.lineTo(x, middle - 2);
        this.context.fill();
    }

    cursor(x, lane) {
        this.fill('focus', x - 0.5, 0, 1, this.height - axisHeight);
        this.context.strokeStyle = this.colour('focus');
        this.context.lineWidth = 2;
        this.context.strokeRect(x - 5, lane * laneHeight + 2, 10, laneHeight - 5);
    }

    fill(colour, x, y, width, height) {
        this.context.fillStyle = this.colour(colour);
        this.context.fillRect(x, y, width, height);
    }

    words(text, x, y, room, colour) {
        this.context.save();
        this.context.beginPath();
        this.context.rect(x, y - 10, room, 20);
        this.context.clip();
        this.context.fillStyle = this.colour(colour);
        this.context.fillText(text, x, y);
        this.context.restore();
    }
}

/// @return 1, 2 or 5 times a power of ten, not less than asked for
function roundStep(least) {
    const power = 10 ** Math.floor(Math.log10(least));
    return [1, 2, 5, 10].find(factor => factor * power >= least) * power;
}
