'use strict';

// The record as JSON. The report has this script, too.

/// What a report holds; the receiver writes the same.
function recordToSave(record, state) {
    const happenings = record.all();
    return {
        version: record.version,
        input: state ? state.stream.input : '',
        duration: happenings.length > 0 ? happenings[happenings.length - 1].time : 0,
        run: record.run,
        omitted: record.dropped,
        happenings,
        state,
    };
}

function saveJson(record, state) {
    saveFile('vesta-timeline.json', 'application/json', JSON.stringify(recordToSave(record, state), null, 1));
}
