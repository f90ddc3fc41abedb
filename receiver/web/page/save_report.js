'use strict';

// The report: one HTML file that shows the record without a receiver. The receiver writes the same.

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
