'use strict';

// The services of the stream.

const signallingWords = {
    yes: 'signals HbbTV', no: 'does not signal HbbTV', maybe: 'may signal HbbTV', unknown: 'no PMT yet',
};

function showChannels({ services }) {
    if (services.length === 0) {
        update(find('channel-list'), element('li', { class: 'none' }, 'No services yet.'));
        return;
    }
    update(find('channel-list'), services.map(service =>
        element('li', { 'data-key': service.id, class: service.tuned ? 'tuned' : null },
            element('button', { type: 'button', 'data-command': `zap ${Number(service.id)}`,
                'aria-current': service.tuned ? 'true' : null },
            element('span', { class: 'number' }, service.id), ' ',
            element('bdi', { class: 'name' }, service.name || '(no name)'), ' ',
            element('span', { class: `hint signals-${service.signals_hbbtv}` },
                signallingWords[service.signals_hbbtv] || service.signals_hbbtv)))));
}
