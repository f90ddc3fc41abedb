'use strict';

// What happened, as far as the tab keeps it.

const maximumHappenings = 5000;
const maximumLines = 2000;
const maximumText = 2000;
const maximumDetails = 8000;

class Record {
    /// @param isWhole whether everything is kept as it comes: somebody else has bounded it
    constructor(isWhole = false) {
        this.isWhole = isWhole;
        this.begin('', '');
    }

    /// Forgets everything: another run of the receiver has begun.
    begin(run, version) {
        this.run = run;
        this.version = version;
        this.happenings = [];  // all but the library's log, oldest first
        this.lines = [];  // the library's log
        this.lastId = 0;
        this.dropped = 0;  // what the receiver did not keep, and what was too much for the tab
    }

    /// @return whether it is new
    add(happening) {
        if (happening.id <= this.lastId)
            return false;
        this.dropped += happening.id - this.lastId - 1;
        this.lastId = happening.id;
        const isLine = happening.source === 'log';
        const kept = isLine ? this.lines : this.happenings;
        kept.push(this.isWhole ? happening : bounded(happening));
        if (!this.isWhole && kept.length > (isLine ? maximumLines : maximumHappenings)) {
            kept.shift();
            ++this.dropped;
        }
        return true;
    }

    /// @return all that is kept, in order
    all() {
        return [...this.happenings, ...this.lines].sort((a, b) => a.id - b.id);
    }
}

/// One happening must not be as large as all others together.
function bounded(happening) {
    const isLongText = String(happening.text).length > maximumText;
    const isLongDetails = happening.details && JSON.stringify(happening.details).length > maximumDetails;
    if (!isLongText && !isLongDetails)
        return happening;
    const text = String(happening.text).slice(0, maximumText) + (isLongText ? '…' : '');
    return { ...happening, text, details: isLongDetails ? { cut: true } : happening.details };
}
