'use strict';

// The record as a file: JSON, or one HTML file that shows it without a receiver.

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

/// @return the report's text; null where the receiver does not answer
async function reportOf(record, state) {
    const content = recordToSave(record, state);  // as it is now, not when the files have come
    const file = name => fetched(`/${name}`, answer => answer.text());
    const template = await file('report.html');
    const line = /<!-- SCRIPTS ([^>]*) -->/.exec(template || '');
    if (!line)
        return null;
    const [style, ...scripts] = await Promise.all(['style.css', ...line[1].trim().split(/\s+/)].map(file));
    if ([style, ...scripts].includes(null))
        return null;
    const json = JSON.stringify(content).replace(/</g, '\\u003c');
    return template
        .replace('<!-- STYLE -->', () => `<style>${style}</style>`)
        .replace(line[0], () => `<script>${scripts.join('\n')}</script>`)
        .replace('<!-- RECORD -->', () => `<script type="application/json" id="record">${json}</script>`);
}

/// @return whether the receiver gave what a report is made of
async function saveHtml(record, state) {
    const report = await reportOf(record, state);
    if (report)
        saveFile('vesta-report.html', 'text/html', report);
    return report !== null;
}
