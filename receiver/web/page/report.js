'use strict';

// The report: a record in a file of its own, with the timeline, the last state and the log.

const emptyState = {
    stream: { input: '', packets: 0, continuity_errors: 0, damaged_packets: 0, scrambled_packets: 0, damaged_sections: 0,
        sync_losses: 0, network: null },
    windows: [], applications: [], table: null, carousels: [], carousel_bytes: 0, pending: [],
};

function showReport(content) {
    const record = new Record(true);
    record.begin(content.run, content.version);
    content.happenings.forEach(happening => record.add(happening));
    record.dropped = Math.max(record.dropped, content.omitted);
    const summary = [['Stream', content.input], ['Duration', seconds(content.duration)],
        ['Receiver', `version ${content.version}`], ['Run', content.run]];
    update(find('summary'), summary.map(([name, value]) =>
        element('div', null, element('dt', null, name), element('dd', null, element('bdi', null, value)))));
    document.title = `${visible(content.input)}: report of the receiver`;
    new Timeline(find('timeline'), record);
    showNow(find('now-panel'), { ...emptyState, ...content.state }, false);
    new Log(record).redraw();
    find('save-json').addEventListener('click', () => saveJson(record, content.state));
}

showReport(JSON.parse(find('record').textContent));
