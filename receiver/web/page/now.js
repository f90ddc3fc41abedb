'use strict';

// What there is at the moment: windows, applications, the table in force, carousels, loads.

// Of a carousel; a broadcast may have thousands.
const listedFiles = 500;
const listedModules = 120;

/// @param root where the panel is
/// @param canStart whether there is a receiver that could start an application
function showNow(root, state, canStart) {
    update(root,
        nowPart('Windows', windowsNow(state.windows)),
        nowPart('Applications', applicationsNow(state.applications)),
        nowPart('Table in force', tableNow(state.table, canStart)),
        nowPart('Carousels', carouselsNow(state.carousels, state.carousel_bytes)),
        nowPart('Pending loads', pendingNow(state.pending)),
        nowPart('Stream', streamNow(state.stream)));
}

function nowPart(heading, content) {
    return element('div', { class: 'part' }, element('h3', null, heading), content);
}

function none(sentence) {
    return element('p', { class: 'none' }, sentence);
}

function facts(...words) {
    return element('span', { class: 'facts' }, words.filter(Boolean).join(', '));
}

function windowsNow(windows) {
    if (windows.length === 0)
        return none('No window is open.');
    return element('ul', null, windows.map(window => element('li', { 'data-key': window.id },
        element('strong', null, `Window ${window.id}`), ' ',
        facts(window.shown ? 'shown' : 'hidden', window.loaded ? 'loaded' : 'loading', window.has_keys && 'has the keys'),
        element('bdi', { class: 'address' }, window.url))));
}

function applicationsNow(applications) {
    if (applications.length === 0)
        return none('No application runs.');
    return element('ul', null, applications.map(application => element('li', { 'data-key': application.application },
        element('strong', null, application.application), ' ',
        facts(`window ${application.window}`, application.broadcast_related ? 'broadcast-related' : 'broadcast-independent',
            application.shown ? 'shown' : 'hidden', application.parent && `created by ${application.parent}`),
        element('bdi', { class: 'address' }, application.url),
        element('dl', null,
            element('dt', null, 'Keys'),
            element('dd', null, application.key_names.join(' ') || 'none', ` (${hexadecimal(application.key_set)})`),
            element('dt', null, 'Boundary'),
            element('dd', null, application.boundary.length === 0 ? 'none' :
                application.boundary.map(origin => element('bdi', { class: 'address' }, origin)))))));
}

function tableNow(table, canStart) {
    if (!table)
        return none('There is no table.');
    if (table.applications.length === 0)
        return none('The table has no applications.');
    return element('ul', null, table.applications.map(entry => element('li', { 'data-key': entry.application },
        element('strong', null, entry.application), ' ', element('bdi', null, entry.name), ' ',
        facts(entry.control_name || `control code ${entry.control_code}`), ' ',
        element('span', { class: `verdict ${verdictClass(entry.verdict)}` }, entry.verdict),
        entry.reason ? element('p', { class: 'reason' }, entry.reason) : null,
        entry.urls.map(url => element('bdi', { class: 'address' }, url)),
        entry.profiles.length === 0 ? null : element('span', { class: 'hint' }, 'profile ', entry.profiles.join('; ')),
        canStart ? startButton(entry) : null)));
}

function verdictClass(verdict) {
    return { runs: 'runs', 'can start': 'can' }[verdict] || 'cannot';
}

function startButton(entry) {
    const isNamed = /^[0-9a-f]+\.[0-9a-f]+$/i.test(entry.application);
    if (!isNamed || entry.verdict !== 'can start')
        return null;
    return element('button', { type: 'button', class: 'small', 'data-command': `start ${entry.application}`,
        'aria-label': `Start ${entry.application}` }, 'Start');
}

function carouselsNow(carousels, bytes) {
    if (carousels.length === 0)
        return none('There is no carousel.');
    return [element('ul', null, carousels.map(carousel => element('li', { 'data-key': carousel.component_tag },
        element('strong', null, `Carousel ${hexadecimal(carousel.component_tag)}`), ' ',
        facts(`${carousel.modules_complete} of ${carousel.modules_known} modules`),
        element('progress', { value: carousel.modules_complete, max: Math.max(1, carousel.modules_known),
            'aria-label': `Modules of carousel ${hexadecimal(carousel.component_tag)}` }),
        carouselModules(carousel.modules || []),
        carousel.files.length + carousel.stream_events.length === 0 ? null : carouselFiles(carousel)))),
    element('p', { class: 'hint' }, `Together ${withSeparators(bytes)} bytes.`)];
}

function carouselModules(modules) {
    if (modules.length === 0)
        return null;
    return element('ul', { class: 'modules' }, modules.slice(0, listedModules).map(carouselModule),
        moreOf('modules', modules.length - listedModules, 'li'));
}

function carouselModule({ module, version, size, blocks, received, problem }) {
    const name = `Module ${module}`;
    return element('li', { class: problem ? 'problem' : null, title: `${name}, version ${version}, ${withSeparators(size)} bytes` },
        name, ' ', element('span', { class: 'facts' }, `${received}/${blocks}`),
        element('progress', { value: received, max: Math.max(1, blocks), 'aria-label': name }),
        problem || null);
}

function moreOf(what, count, name = 'p') {
    return count > 0 ? element(name, { class: 'hint' }, `and ${withSeparators(count)} more ${what}`) : null;
}

function carouselFiles(carousel) {
    const name = `Files of carousel ${hexadecimal(carousel.component_tag)}`;
    const omitted = carousel.files_omitted || 0;  // by the receiver
    const rows = [
        ...carousel.files.slice(0, listedFiles).map(file => [file.path, withSeparators(file.size)]),
        ...carousel.stream_events.map(events => [events.path, `${events.events} stream events`]),
    ];
    return element('details', { open: true }, element('summary', null, `${withSeparators(carousel.files.length + omitted)} files`),
        element('div', { class: 'scroll files', tabindex: 0, role: 'region', 'aria-label': name }, table(name, ['File', 'Bytes'], rows)),
        moreOf('files', carousel.files.length - listedFiles + omitted));
}

function pendingNow(pending) {
    if (pending.length === 0)
        return none('Nothing is waited for.');
    return element('ul', null, pending.map(load => element('li', null, load.window ? `Window ${load.window} ` : 'File ',
        element('bdi', { class: 'address' }, load.url))));
}

function streamNow(stream) {
    const counts = [
        ['packets', stream.packets], ['gaps', stream.continuity_errors], ['damaged packets', stream.damaged_packets],
        ['scrambled packets', stream.scrambled_packets], ['damaged sections', stream.damaged_sections],
        ['losses of sync', stream.sync_losses],
    ];
    return [element('p', null, element('bdi', { class: 'address' }, stream.input), stream.ended ? ' has ended.' : null),
        element('dl', { class: 'counts' }, counts.map(([name, count]) =>
            [element('dt', null, name), element('dd', null, withSeparators(count))])),
        stream.network ? element('p', { class: 'hint' }, networkSentence(stream.network)) : null];
}

function networkSentence(network) {
    if (typeof network !== 'object')
        return network;
    return Object.entries(network).map(([name, count]) => `${name.replace(/_/g, ' ')} ${count}`).join(', ');
}
