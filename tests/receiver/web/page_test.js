'use strict';

// The receiver's page in a browser, before a receiver that obeys the test.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { pathToFileURL } = require('node:url');
const { afterEach, beforeEach, describe, it } = require('node:test');
const { Stand, until } = require('./stand.js');
const { FakeReceiver, emptyState, exampleHappenings, exampleState, picture } = require('./fake_receiver.js');

const stand = new Stand();
let receiver;

beforeEach(async () => {
    receiver = new FakeReceiver();
    receiver.happenAll(exampleHappenings());
    await receiver.start();
});

afterEach(() => receiver.stop());

/// @param options playwright's, of a context; may be left out
function onPage(options, use = options) {
    return stand.visit(receiver.address, use === options ? {} : options, async (page, context) => {
        await page.locator('[data-connection=connected] #channel-list button').first().waitFor();
        await use(page, context);
    });
}

const textOf = (page, selector) => page.locator(selector).innerText();

function waitForText(page, selector, wanted) {
    const isThere = async () => {
        const text = await page.locator(selector).allInnerTexts();
        return wanted instanceof RegExp ? wanted.test(text.join('\n')) : text.join('\n').includes(wanted);
    };
    return until(isThere, `${wanted} in ${selector}`);
}

const shownPicture = (page, number) => waitForText(page, '#screen-number', new RegExp(`^Picture ${number}$`));

const colourInPicture = page => page.evaluate(() => [...find('picture').getContext('2d').getImageData(5, 5, 1, 1).data]);

const countOf = (list, wanted) => list.filter(one => one.startsWith(wanted)).length;

async function hide(page, isHidden) {
    await page.evaluate(hidden => {
        Object.defineProperty(document, 'visibilityState', { configurable: true, get: () => hidden ? 'hidden' : 'visible' });
        Object.defineProperty(document, 'hidden', { configurable: true, get: () => hidden });
        document.dispatchEvent(new Event('visibilitychange'));
    }, isHidden);
}

const happenings = page => page.evaluate(() => app.record.happenings.map(one => one.id));

describe('Screen', () => {
    it('ShowsEachPictureThatIsAnnouncedAndAsksForNoOther', () => onPage(async page => {
        await shownPicture(page, 1);
        assert.deepEqual(await colourInPicture(page), [20, 60, 90, 255]);
        receiver.paint(picture(200, 10, 10));
        await shownPicture(page, 2);
        assert.deepEqual(await colourInPicture(page), [200, 10, 10, 255]);
        receiver.setState({ time: 99 });  // news, but not of the picture
        await waitForText(page, '#time', '99.000 s');
        assert.equal(countOf(receiver.requests, '/screen.png'), 2);
    }));

    it('AsksForOnePictureAtATimeAndLeavesOutThoseInBetween', () => onPage(async page => {
        await shownPicture(page, 1);
        receiver.heldPictures = [];
        receiver.paint(picture(1, 1, 1));
        await until(() => receiver.heldPictures.length === 1, 'a request for a picture');
        for (let n = 0; n < 20; ++n)
            receiver.paint(picture(n, n, n, 64, 36));
        receiver.setState({ time: 50 });
        await waitForText(page, '#time', '50.000 s');
        assert.equal(receiver.heldPictures.length, 1);
        receiver.releasePictures();
        await shownPicture(page, 22);
        assert.equal(receiver.mostBusyPictures, 1);
        assert.ok(countOf(receiver.requests, '/screen.png') <= 3);
    }));

    it('OutlinesVideoAndWindowsWhereAsked', () => onPage(async page => {
        await shownPicture(page, 1);
        assert.equal(await page.locator('.outline').count(), 0);
        await page.getByLabel('Outline video and windows').check();
        const frame = await page.locator('#screen-frame').boundingBox();
        const video = await page.locator('.outline.video').boundingBox();
        assert.ok(Math.abs(video.x - frame.x - frame.width / 2) < 2 && Math.abs(video.width - frame.width / 2) < 2);
        assert.match(await textOf(page, '.outline.windows'), /window 1, window 2 \(hidden\)/);
        receiver.setState({ screen: { ...receiver.state.screen, video: null }, windows: [] });
        await until(async () => await page.locator('.outline').count() === 0, 'no outline');
    }));

    it('ShowsTheSourceWhereNothingIsPainted', async () => {
        receiver.state.screen = { ...receiver.state.screen, paints: false };
        receiver.page = { window: 1, url: 'dvb://1/index.html', type: 'text/html', source: '<html>\n\t<b>bold</b>\n\u0007</html>', size: 30,
            is_cut: true, resources: [{ url: 'http://a.example/x.js', size: 1234, type: 'text/javascript', status: 200 },
                { url: 'http://b.example/', size: 0, type: '', status: null }] };
        await onPage(async page => {
            await waitForText(page, '#page-resources', 'http://a.example/x.js');
            assert.equal(await page.locator('#page-source').textContent(), '<html>\n\t<b>bold</b>\n\uFFFD</html>\n… (cut)');
            assert.match(await textOf(page, '#page-resources'), /1,234/);
            assert.match(await textOf(page, '#page-resources'), /no connection/);
            assert.match(await textOf(page, '#page-address'), /dvb:\/\/1\/index.html/);
            assert.equal(await page.locator('#picture').isVisible(), false);
            receiver.page = null;
            receiver.setState({ windows: [] });
            await waitForText(page, '#page-address', 'No page is loaded.');
            assert.equal(countOf(receiver.requests, '/screen.png'), 0);
        });
    });

    it('SavesThePicture', () => onPage(async page => {
        await shownPicture(page, 1);
        const file = await stand.saved(page, () => page.getByRole('button', { name: 'Save picture' }).click());
        assert.deepEqual([...fs.readFileSync(file).subarray(1, 4)], [...Buffer.from('PNG')]);
    }));
});

describe('A hidden tab', () => {
    it('AsksForNothingAndGoesOnWhereItWas', () => onPage(async page => {
        await shownPicture(page, 1);
        await hide(page, true);
        await until(() => receiver.listeners.size === 0, 'the end of the events');
        const asked = receiver.requests.length;
        const last = receiver.nextId - 1;
        receiver.happen('air', 'ait', 'while nobody looked');
        receiver.paint(picture(9, 9, 9));
        receiver.setState({ time: 77 });
        // Longer than any of the page's pauses but those between attempts to connect.
        await new Promise(done => { setTimeout(done, 1500); });
        assert.equal(receiver.requests.length, asked);
        await hide(page, false);
        await shownPicture(page, 2);
        await waitForText(page, '#timeline .lines', 'while nobody looked');
        assert.ok(receiver.requests.slice(asked).includes(`/events?after=r1.${last}`));
        const ids = await happenings(page);
        assert.equal(new Set(ids).size, ids.length);
    }));
});

describe('Remote control', () => {
    it('SaysWhoHasAKeyOrWhyItIsRefused', () => onPage(async page => {
        const press = name => page.getByRole('group').getByRole('button', { name, exact: true }).click();
        await press('Red');
        await waitForText(page, '#key-answer', /RED: application/);
        await press('Information');
        await waitForText(page, '#key-answer', /INFO: receiver/);
        await press('Blue');
        await waitForText(page, '#key-answer', /BLUE: refused no, key of a.2a01: The key's group is not/);
        assert.deepEqual(receiver.commands, ['key RED', 'key INFO', 'key BLUE']);
        receiver.answers.set('key', [403, { outcome: 'failed', text: 'not over the web', lines: [] }]);
        await press('Red');
        await waitForText(page, '#key-answer', /RED: refused not over the web/);
    }));

    it('SaysThatAnApplicationHasAKeyBesideItsKeySet', () => onPage(async page => {
        receiver.happen('decision', 'decision', "no, key of a.2a01: The key's group is not in the application's key set.",
            { subject: 'key', verdict: false, reason: 603, application: 'a.2a01', wanted: 8, had: 1, text: '' });
        receiver.happen('user', 'key', 'key GREEN down', { key: 'GREEN', consumed: true });
        await waitForText(page, '#key-answer', /GREEN: application/);
    }));

    it('SaysNothingOfKeysOfLongAgo', async () => {
        receiver.press('RED');
        await onPage(async page => {
            await waitForText(page, '#timeline .lines', 'key RED down');
            await page.reload();
            await waitForText(page, '#timeline .lines', 'key RED down');
            assert.equal(await textOf(page, '#key-answer'), 'No key was pressed yet.');
        });
    });

    it('HasEveryKeyOnceAndThoseThatItDoesNotKnowBelow', async () => {
        receiver.state.keys = [...receiver.state.keys, 'TELETEXT'];
        await onPage(async page => {
            await page.getByText('Letters', { exact: true }).click();
            const drawn = await page.locator('#remote [data-tv-key]').evaluateAll(keys => keys.map(key => key.dataset.tvKey));
            assert.deepEqual(drawn.sort(), receiver.state.keys.filter(key => key !== 'ENTER').sort());
            await page.getByRole('button', { name: 'TELETEXT' }).click();
            await until(() => receiver.commands.includes('key TELETEXT'), 'the key');
        });
    });

    it('MarksTheKeysThatTheApplicationAskedFor', () => onPage(async page => {
        const marked = () => page.locator('.asked-for').evaluateAll(keys => keys.map(key => key.dataset.tvKey).sort());
        assert.deepEqual(await marked(), ['BACK', 'DOWN', 'GREEN', 'LEFT', 'OK', 'RED', 'RIGHT', 'UP']);
        receiver.setState({ applications: [] });
        await until(async () => (await marked()).length === 0, 'no mark');
    }));

    it('TakesTheComputersKeysOnTheScreenAndOnThePad', () => onPage(async page => {
        for (const place of ['#screen-frame', '#key-pad']) {
            receiver.commands.length = 0;
            await page.locator(place).focus();
            for (const key of ['ArrowLeft', 'ArrowUp', 'ArrowRight', 'ArrowDown', 'Enter', 'Backspace', 'F1', 'F2', 'F3', 'F4', '7', 'x', 'PageDown'])
                await page.keyboard.press(key);
            await until(() => receiver.commands.length === 13, 'thirteen keys');
            assert.deepEqual(receiver.commands.map(line => line.split(' ')[1]),
                ['LEFT', 'UP', 'RIGHT', 'DOWN', 'OK', 'BACK', 'RED', 'GREEN', 'YELLOW', 'BLUE', '7', 'X', 'PAGEDOWN']);
        }
        receiver.commands.length = 0;
        await page.keyboard.press('Control+f');
        await page.keyboard.press('Alt+ArrowDown');
        await page.keyboard.press('Tab');
        await page.keyboard.press('Shift+Tab');
        assert.ok(await page.locator('#key-pad').evaluate(pad => pad === document.activeElement));
        await page.keyboard.press('9');
        await until(() => receiver.commands.length > 0, 'the next key');
        assert.deepEqual(receiver.commands, ['key 9']);
    }));

    it('LeavesTheKeysOfOtherControlsToThem', () => onPage(async page => {
        await page.locator('#timeline-filter').focus();
        await page.keyboard.type('ait1');
        await page.keyboard.press('Backspace');
        await page.keyboard.press('ArrowLeft');
        assert.equal(await page.locator('#timeline-filter').inputValue(), 'ait');
        await page.locator('#answer-start').focus();
        await page.keyboard.press('ArrowDown');
        await until(() => receiver.commands.length === 1, 'the answer');
        await page.evaluate(() => document.activeElement.blur());
        await page.keyboard.press('5');  // a character is nobody's without focus
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('F2');
        await until(() => receiver.commands.length === 2, 'a colour');
        await page.locator('#timeline-heading').click();  // focuses nothing
        await page.keyboard.press('Backspace');
        await until(() => receiver.commands.length === 3, 'the key');
        const green = page.getByRole('button', { name: 'Green' });
        await green.focus();
        await page.keyboard.press('Enter');
        await page.keyboard.press('ArrowLeft');
        await until(() => receiver.commands.length === 5, 'the button and an arrow');
        assert.deepEqual(receiver.commands, ['answer start kill', 'key GREEN', 'key BACK', 'key GREEN', 'key LEFT']);
    }));
});

describe('Panels', () => {
    it('ListTheChannelsAndZap', () => onPage(async page => {
        const channels = await page.locator('#channel-list li').allInnerTexts();
        assert.deepEqual(channels.map(text => text.replace(/\s+/g, ' ').trim()), ['1 Vesta One signals HbbTV', '2 Vesta Two may signal HbbTV',
            '28112 Plain does not signal HbbTV', '28113 (no name) no PMT yet']);
        const two = page.getByRole('button', { name: /Vesta Two/ });
        await two.focus();
        await page.keyboard.press('Enter');
        await page.locator('#channel-list [aria-current=true]', { hasText: 'Vesta Two' }).waitFor();
        assert.deepEqual(receiver.commands, ['zap 2']);
        assert.ok(await two.evaluate(button => button === document.activeElement), 'the focus stays');
        await waitForText(page, '#command-answer', 'zap 2: done');
        receiver.answers.set('zap', [409, { outcome: 'failed', text: 'there is no such service', lines: [] }]);
        await page.getByRole('button', { name: /Plain/ }).click();
        await waitForText(page, '#command-answer', 'zap 28112: there is no such service');
    }));

    it('ShowWhatThereIsNow', () => onPage(async page => {
        const now = await textOf(page, '#now-panel');
        for (const wanted of ['Window 1', 'shown, loaded, has the keys', 'Window 2', 'hidden, loading',
            'a.2a01', 'window 1, broadcast-related, shown', 'window 2, broadcast-independent, hidden, created by a.2a01',
            'RED GREEN NAVIGATION (0x13)', 'http://a.example/', 'Launcher', 'AUTOSTART', 'runs', 'http://backup.example/index.html',
            '0x0000 with version 1.2.1', 'can start', 'cannot start', 'The application needs a profile that the terminal does not have.',
            'Carousel 0x2a', '3 of 5 modules', 'Module 4 30/74', 'Module 5 0/24600', 'too large', 'late.png', '/img/logo.png', '40,008', '2 stream events', 'Together 367,117 bytes.', 'sample.ts', '204,800'])
            assert.ok(now.includes(wanted), wanted);
        await page.getByRole('button', { name: 'Start a.2a02' }).click();
        await until(() => receiver.commands.includes('start a.2a02'), 'the command');
        assert.equal(await page.getByRole('button', { name: 'Start a.2a03' }).count(), 0);
    }));

    it('FillAndEmptyAsTheStateDoes', () => onPage(async page => {
        await page.getByText('2 files').click();  // closes the list, which stays closed
        const carousel = { ...exampleState().carousels[0], modules_complete: 5 };
        carousel.modules = Array.from({ length: 300 }, (_, n) => ({ module: n, version: 0, size: n, blocks: 2, received: 1, problem: '' }));
        carousel.files_omitted = 100;
        carousel.files = Array.from({ length: 900 }, (_, n) => ({ path: `/file-${n}`, size: n }));
        receiver.setState({ carousels: [carousel] });
        await waitForText(page, '#now-panel', '5 of 5 modules');
        assert.equal(await page.locator('#now-panel details[open]').count(), 0);
        await waitForText(page, '#now-panel', 'and 180 more modules');
        await page.getByText('1,000 files').click();
        await waitForText(page, '#now-panel', 'and 500 more files');
        receiver.setState(emptyState());
        for (const sentence of ['No window is open.', 'No application runs.', 'There is no table.', 'There is no carousel.', 'Nothing is waited for.'])
            await waitForText(page, '#now-panel', sentence);
        await waitForText(page, '#channel-list', 'No services yet.');
        receiver.setState({ stream: { ...receiver.state.stream, ended: true, network: { datagrams: 7, dropped: 1 } } });
        await waitForText(page, '#now-panel', 'datagrams 7, dropped 1');
        await waitForText(page, '#input', '(ended)');
    }));

    it('SwitchWhatSurroundsTheApplicationManager', () => onPage(async page => {
        await page.getByLabel('Broadband').uncheck();
        await page.getByLabel('Time-shifted').check();
        await page.getByLabel('An application starts').selectOption('keep');
        await page.getByLabel('A page requests').selectOption('core');
        await page.getByLabel('Download').check();
        await waitForText(page, '#profiles-mask', '0x0001');
        await page.getByLabel('RTSP').check();
        await waitForText(page, '#profiles-mask', '0x0005');
        await page.getByRole('button', { name: 'Memory is low' }).click();
        await page.getByRole('button', { name: 'Terminate application' }).click();
        await page.getByLabel('Start', { exact: true }).fill('http://a.example/with blank.html');
        await page.keyboard.press('Enter');
        await until(() => receiver.commands.length === 9, 'nine commands');
        assert.deepEqual(receiver.commands, ['http off', 'timeshift on', 'answer start keep', 'answer request core', 'profiles 1', 'profiles 5',
            'lowmemory', 'terminate', 'start "http://a.example/with blank.html"']);
    }));

    it('TakeASwitchBackThatTheReceiverRefuses', () => onPage(async page => {
        receiver.answers.set('http', [403, { outcome: 'failed', text: 'not now', lines: [] }]);
        await page.getByLabel('Broadband').click();
        await waitForText(page, '#command-answer', 'http off: not now');
        await until(() => page.getByLabel('Broadband').isChecked(), 'the switch as it was');
    }));

    it('ShowWhatOthersSwitch', () => onPage(async page => {
        receiver.setState({ switches: { http: false, timeshift: true, profiles: 0x12, start: 'kill', request: 'deny' } });
        await waitForText(page, '#profiles-mask', '0x0012');
        assert.equal(await page.getByLabel('Broadband').isChecked(), false);
        assert.equal(await page.getByLabel('Time-shifted').isChecked(), true);
        assert.equal(await page.getByLabel('An application starts').inputValue(), 'kill');
        assert.equal(await page.getByLabel('PVR').isChecked(), true);
        await page.getByLabel('PVR').uncheck();
        await until(() => receiver.commands.length === 1, 'the command');
        assert.deepEqual(receiver.commands, ['profiles 16']);  // the bit without a box stays
    }));

    it('ShowTheLogByLevel', () => onPage(async page => {
        const lines = () => page.locator('#log-lines li:visible').allInnerTexts();
        await until(async () => (await lines()).length === 3, 'three lines');
        for (const [level, count] of [['debug', 4], ['warn', 2], ['err', 1]]) {
            await page.getByLabel('Level').selectOption(level);
            assert.equal((await lines()).length, count, level);
            await waitForText(page, '#log-count', `${count} of 4 lines`);
        }
        assert.match((await lines())[0], /2\.100 err +\[ +Window\] the page does not answer/);
        receiver.happen('log', 'log', 'err   [         AIT] by number', { level: 4 });
        await waitForText(page, '#log-lines', 'by number');
    }));
});

describe('Timeline', () => {
    const canvas = page => page.locator('#timeline canvas');
    const listed = async page => (await page.locator('#timeline .lines li').allInnerTexts()).map(line => line.trim());
    const placeOf = (page, event) => page.evaluate(wanted => app.timeline.placeOf(app.record.happenings.find(one => one.event === wanted)), event);

    it('HasALaneForEachSourceAndShowsTheRecordThatIsClicked', () => onPage(async page => {
        await waitForText(page, '#timeline output', '14 of 14 records');
        assert.deepEqual(await page.locator('.lane-names label').allInnerTexts().then(all => all.map(text => text.trim())),
            ['Air', 'Application manager', 'Browser', 'Platform', 'User', 'Receiver', 'Decisions']);
        const places = {};
        for (const [event, lane] of [['ait', 0], ['start', 1], ['load-failed', 2], ['debug', 2], ['file-ready', 3], ['zap', 4], ['tuned', 5], ['decision', 6]]) {
            places[event] = await placeOf(page, event);
            assert.equal(Math.floor(places[event].y / 26), lane, event);
        }
        assert.ok(places.ait.x < places.start.x && places.start.x < places['load-failed'].x);
        await canvas(page).click({ position: places['load-failed'] });
        await waitForText(page, '#timeline .record', /3\.000 s[^]*browser[^]*load-failed[^]*missing\.png: 404[^]*status\s+404/);
        await canvas(page).click({ position: { x: places['load-failed'].x, y: 5 } });  // nothing is there
        await waitForText(page, '#timeline .record', 'load-failed');
        await canvas(page).click({ position: places.zap });
        await waitForText(page, '#timeline .record', 'zap to service 1');
    }));

    it('GoesFromRecordToRecordByKeyboard', () => onPage(async page => {
        await canvas(page).focus();
        const value = () => canvas(page).getAttribute('aria-valuetext');
        const steps = [['Home', '0.001 s, platform: tables are wanted'], ['ArrowRight', '0.020 s, air: service 1 is "Vesta One"'],
            ['ArrowDown', /library: may a\.2a01 start/], ['ArrowDown', '0.500 s, browser: window 1 opened'], ['ArrowUp', /library/],
            ['End', '4.000 s, user: zap to service 1'], ['ArrowLeft', '3.000 s, browser: http://a.example/missing.png: 404'], ['PageUp', /receiver: tuned/]];
        for (const [key, wanted] of steps) {
            await page.keyboard.press(key);
            await until(async () => wanted instanceof RegExp ? wanted.test(await value()) : await value() === wanted, `${wanted} after ${key}`);
        }
        assert.deepEqual(receiver.commands, []);
        await page.keyboard.press('+');
        await until(async () => !(await textOf(page, '#timeline output')).includes('14 of 14'), 'a shorter view');
    }));

    it('ZoomsAndMoves', () => onPage(async page => {
        const span = async () => (await textOf(page, '#timeline output')).match(/^([\d.-]+) s to ([\d.-]+) s/).slice(1).map(Number);
        await waitForText(page, '#timeline output', '0.001 s to 4.000 s');
        await page.getByRole('button', { name: 'Zoom in' }).click();
        await until(async () => { const [from, to] = await span(); return Math.abs(to - from - 2) < 0.01; }, 'half of it');
        const box = await canvas(page).boundingBox();
        const [before] = await span();
        await page.mouse.move(box.x + 300, box.y + 60);
        await page.mouse.down();
        await page.mouse.move(box.x + 200, box.y + 60, { steps: 4 });
        await page.mouse.up();
        await until(async () => (await span())[0] > before, 'a later view');
        assert.equal(await page.getByRole('button', { name: 'Follow' }).getAttribute('aria-pressed'), 'false');
        await page.keyboard.down('Control');
        await page.mouse.wheel(0, 100);
        await page.keyboard.up('Control');
        await until(async () => { const [from, to] = await span(); return to - from > 2.4; }, 'more by the wheel');
        await page.getByRole('button', { name: 'All' }).click();
        await waitForText(page, '#timeline output', '0.001 s to 4.000 s');
        receiver.happen('air', 'ait', 'later', undefined, 9);
        await waitForText(page, '#timeline output', '0.001 s to 9.000 s');
    }));

    it('StaysWhereItIsUnlessItFollows', () => onPage(async page => {
        const follow = page.getByRole('button', { name: 'Follow' });
        await waitForText(page, '#timeline output', '14 of 14');
        await follow.click();
        receiver.happen('air', 'ait', 'later', undefined, 9);
        await waitForText(page, '#timeline output', '0.001 s to 4.000 s, 14 of 15');
        await follow.click();
        await waitForText(page, '#timeline output', /to 9\.000 s/);
    }));

    it('FiltersByTextAndByLane', () => onPage(async page => {
        await until(async () => (await listed(page)).length === 14, 'all');
        await page.getByLabel('Filter').fill('MISSING');
        await until(async () => (await listed(page)).length === 2, 'two');
        await page.getByLabel('Decisions').uncheck();
        await until(async () => (await listed(page)).length === 1, 'one');
        assert.deepEqual(await listed(page), ['3.000 browser http://a.example/missing.png: 404']);
        await page.getByLabel('Filter').fill('');
        await until(async () => (await listed(page)).length === 12, 'all but decisions');
        await page.getByRole('button', { name: /service 1 is/ }).click();
        await waitForText(page, '#timeline .record', 'Vesta One');
    }));

    it('SavesItselfAsJson', () => onPage(async page => {
        const file = await stand.saved(page, () => page.getByRole('button', { name: 'Save as JSON' }).click());
        const saved = JSON.parse(fs.readFileSync(file, 'utf8'));
        assert.deepEqual(saved.happenings, receiver.kept);
        assert.deepEqual([saved.version, saved.run, saved.input, saved.duration, saved.omitted], ['1.0.0', 'r1', 'sample.ts', 4, 0]);
        assert.deepEqual(saved.state, receiver.state);
    }));
});

describe('A report', () => {
    const hostile = '</script><script>document.title = "obeyed"</script><!--';

    async function savedReport(page) {
        const file = await stand.saved(page, () => page.getByRole('button', { name: 'Save as HTML' }).click());
        await waitForText(page, '#command-answer', 'The report is saved.');
        return file;
    }

    it('WorksWithoutAReceiver', async () => {
        receiver.happen('air', 'service', hostile, { name: hostile });
        let file;
        await onPage(async page => { file = await savedReport(page); });
        await receiver.stop();
        const content = fs.readFileSync(file, 'utf8');
        assert.doesNotMatch(content, /(src|href)="(?!#)/);
        await stand.visit(pathToFileURL(file).href, {}, async page => {
            await waitForText(page, '#timeline output', '15 of 15 records');
            assert.equal(await page.title(), 'sample.ts: report of the receiver');
            for (const wanted of ['sample.ts', 'version 1.0.0', 'r1', '4.100 s'])
                await waitForText(page, '#summary', wanted);
            await waitForText(page, '#timeline .lines', hostile);
            await page.getByRole('button', { name: /missing.png/ }).click();
            await waitForText(page, '#timeline .record', 'load-failed');
            await waitForText(page, '#now-panel', 'Launcher');
            assert.equal(await page.getByRole('button', { name: /^Start/ }).count(), 0);
            await waitForText(page, '#log-lines', 'the page does not answer');
            const json = await stand.saved(page, () => page.getByRole('button', { name: 'Save as JSON' }).click());
            assert.deepEqual(JSON.parse(fs.readFileSync(json, 'utf8')).happenings, receiver.kept);
        });
        await receiver.start();
    });

    it('ShowsMoreThanATabKeepsWhereItIsGivenMore', async () => {
        let file;
        await onPage(async page => {
            file = await stand.saved(page, () => page.evaluate(() => {
                const record = new Record();
                record.happenings = Array.from({ length: 6000 }, (_, index) =>
                    ({ id: index + 1, time: index, source: 'air', event: 'ait', text: 'x'.repeat(index === 0 ? 3000 : 10) }));
                return saveHtml(record, app.state);
            }));
        });
        await stand.visit(pathToFileURL(file).href, {}, async page => {
            await waitForText(page, '#timeline output', /6,?000 of 6,?000 records/);
            const json = await stand.saved(page, () => page.getByRole('button', { name: 'Save as JSON' }).click());
            const { happenings } = JSON.parse(fs.readFileSync(json, 'utf8'));
            assert.equal(happenings.length, 6000);
            assert.equal(happenings[0].text.length, 3000);
        });
    });

    it('SaysWhenItCannotBeMade', () => onPage(async page => {
        await page.route('**/report.html', route => route.abort());
        await page.getByRole('button', { name: 'Save as HTML' }).click();
        await waitForText(page, '#command-answer', 'The report cannot be made');
    }));

    it('HasTheTemplatesThreeLinesOnceEach', () => {
        const template = fs.readFileSync(path.join(__dirname, '../../../receiver/web/page/report.html'), 'utf8');
        for (const line of [/^<!-- STYLE -->$/gm, /^<!-- RECORD -->$/gm, /^<!-- SCRIPTS( [a-z_]+\.js)+ -->$/gm])
            assert.equal(template.match(line).length, 1, String(line));
    });

    it('HasNoScriptThatWouldEndOrHideInsideMarkup', () => {
        const folder = path.join(__dirname, '../../../receiver/web/page');
        const names = /SCRIPTS (.*) -->/.exec(fs.readFileSync(path.join(folder, 'report.html'), 'utf8'))[1].split(' ');
        for (const name of names)
            assert.doesNotMatch(fs.readFileSync(path.join(folder, name), 'utf8'), /<\/?script|<!--/i, name);
    });
});

describe('Hostile texts', () => {
    const markup = '<img src=x onerror="document.title=\'obeyed\'"><b>b</b>&lt;';
    const obeyed = '\u0000\u0007\u001b[31m\n\u0085\u202e\u2066\u200f\u2028\ufeff\ud800';
    const hostile = `${markup}${obeyed}"';--></script>`;

    /// Every text in a value becomes the hostile one.
    function poisoned(value, key) {
        const isWord = ['verdict', 'signals_hbbtv', 'start', 'request'].includes(key);
        if (typeof value === 'string')
            return isWord ? value : hostile;
        if (Array.isArray(value))
            return key === 'keys' ? value : value.map(one => poisoned(one, key));
        if (value && typeof value === 'object')
            return Object.fromEntries(Object.entries(value).map(([name, one]) => [name, poisoned(one, name)]));
        return value;
    }

    async function expectNothingObeyed(page) {
        assert.equal(await page.locator('main img, main b, main script').count(), 0);
        const seen = await page.evaluate(() => document.body.innerText + document.title +
            [...document.querySelectorAll('*')].flatMap(one => [...one.attributes].map(attribute => attribute.value)).join(' '));
        assert.doesNotMatch(seen.replace(/[\n\t]/g, ' '), /[\p{Cc}\p{Cs}\u200f\u202e\u2066\u2028\ufeff]/u);
        assert.doesNotMatch(await page.title(), /^obeyed$/);
        assert.ok(seen.includes(markup));
    }

    it('AreTextEverywhere', async () => {
        receiver.state = poisoned(receiver.state);
        receiver.kept = receiver.kept.map(one => ({ ...one, event: hostile, text: hostile, details: { [hostile]: hostile, level: hostile } }));
        let report;
        await onPage(async page => {
            await page.locator('#timeline .lines button').first().click();
            await waitForText(page, '#timeline .record', markup);
            await waitForText(page, '#log-lines', markup);
            await waitForText(page, '#now-panel', markup);
            await waitForText(page, '#channel-list', markup);
            await page.getByLabel('Outline').check();
            receiver.happen('decision', 'decision', hostile, { subject: 'key', verdict: false });
            receiver.happen('user', 'key', hostile, { key: hostile, consumed: false });
            await waitForText(page, '#key-answer', markup);
            receiver.answers.set('zap', [409, { outcome: 'failed', text: hostile, lines: [hostile] }]);
            await page.locator('#channel-list button').first().click();
            await waitForText(page, '#command-answer', markup);
            await expectNothingObeyed(page);
            report = await stand.saved(page, () => page.getByRole('button', { name: 'Save as HTML' }).click());
        });
        await stand.visit(pathToFileURL(report).href, {}, async page => {
            await waitForText(page, '#timeline .lines', markup);
            await page.locator('#timeline .lines button').first().click();
            await waitForText(page, '#timeline .record', markup);
            await expectNothingObeyed(page);
        });
    });

    it('AreTextInTheSourceOfAPage', async () => {
        receiver.state.screen = { ...receiver.state.screen, paints: false };
        receiver.page = poisoned({ window: 1, url: '', type: '', source: '', size: 1, is_cut: false, resources: [{ url: '', size: 1, type: '', status: 200 }] });
        await onPage(async page => {
            await waitForText(page, '#page-source', markup);
            await waitForText(page, '#page-resources', markup);
            await expectNothingObeyed(page);
        });
    });

    it('DoNotNameACommand', async () => {
        receiver.state.services[0].id = '1\nquit';
        receiver.state.table.applications[1].application = 'a.1\nquit';
        await onPage(async page => {
            await page.locator('#channel-list button').first().click();
            await until(() => receiver.commands.length === 1, 'the command');
            assert.deepEqual(receiver.commands, ['zap NaN']);
            assert.equal(await page.getByRole('button', { name: /^Start ./ }).count(), 0);
        });
    });
});

describe('Connection', () => {
    it('ReplaysWhatHappenedBeforeAReload', () => onPage(async page => {
        await waitForText(page, '#timeline output', '14 of 14');
        const before = await happenings(page);
        receiver.happen('air', 'ait', 'before the reload');
        await page.reload();
        await waitForText(page, '#timeline .lines', 'before the reload');
        assert.deepEqual(await happenings(page), [...before, receiver.nextId - 1]);
    }));

    it('ServesTwoTabsAlike', () => onPage(async (page, context) => {
        const second = await context.newPage();
        await second.goto(receiver.address);
        await second.locator('#channel-list button').first().waitFor();
        await second.getByRole('button', { name: 'Red' }).click();
        for (const tab of [page, second])
            await waitForText(tab, '#key-answer', /RED: application/);
        assert.deepEqual(await happenings(page), await happenings(second));
    }));

    it('SaysThatTheReceiverIsGoneAndGoesOnWithTheSameRun', () => onPage(async page => {
        await waitForText(page, '#timeline output', '14 of 14');
        await receiver.stop();
        await waitForText(page, '#status', 'The receiver is not there');
        await page.getByRole('button', { name: 'Red' }).click();
        await waitForText(page, '#key-answer', 'the receiver does not answer');
        receiver.happen('air', 'ait', 'in between');
        receiver.paint(picture(77, 0, 0));
        receiver.requests.length = 0;
        await receiver.start();
        await waitForText(page, '#status', 'Connected');
        await waitForText(page, '#timeline .lines', 'in between');
        await shownPicture(page, 2);
        assert.equal(receiver.requests.find(one => one.startsWith('/events')), `/events?after=r1.${receiver.nextId - 2}`);
        assert.equal((await happenings(page)).length, 15);
    }));

    it('BeginsAnewWithAnotherRun', () => onPage(async page => {
        await page.locator('#timeline .lines button').first().click();
        await page.getByRole('button', { name: 'Red' }).click();
        await waitForText(page, '#key-answer', /RED/);
        receiver.end();
        await receiver.stop();
        await waitForText(page, '#status', 'The receiver has ended');
        receiver.begin('r2');
        receiver.happen('air', 'ait', 'of the second run');
        receiver.png = picture(0, 99, 0);
        await receiver.start();
        await waitForText(page, '#run', 'run r2');
        await waitForText(page, '#timeline .lines', 'of the second run');
        assert.deepEqual(await happenings(page), [1]);
        await until(async () => await page.locator('#log-lines li').count() === 0, 'an empty log');
        await waitForText(page, '#timeline .record', 'No record is chosen.');
        await waitForText(page, '#key-answer', 'No key was pressed yet.');
        await until(async () => (await colourInPicture(page))[1] === 99, 'the picture of the second run');
    }));

    it('AsksAgainWhereAnAnswerNeverCame', () => onPage(async page => {
        await waitForText(page, '#channel-list', 'Vesta Two');
        await page.evaluate(() => { longestAnswerMs = 200; });
        receiver.answersState = false;
        receiver.requests.length = 0;
        receiver.setState({});
        await until(() => receiver.requests.includes('/state.json'), 'the request');
        await page.evaluate(() => { longestAnswerMs = 30000; });  // the next may take what it takes
        receiver.answersState = true;
        const [service] = receiver.state.services;
        receiver.setState({ services: [{ ...service, name: 'After the silence' }] });
        await waitForText(page, '#channel-list', 'After the silence');
    }));

    it('TriesLessAndLessOften', () => onPage(async page => {
        await page.evaluate(() => {
            window.pauses = [];
            const original = window.setTimeout;
            window.setTimeout = (call, pause) => { window.pauses.push(pause); return original(call, 0); };
        });
        await receiver.stop();
        const pauses = await until(async () => {
            const all = await page.evaluate(() => window.pauses);
            return all.length >= 7 && all;
        }, 'seven attempts');
        assert.deepEqual(pauses.slice(0, 7), [500, 1000, 2000, 4000, 8000, 8000, 8000]);
        await receiver.start();
        await waitForText(page, '#status', 'Connected');
    }));
});

describe('Bounds', () => {
    it('KeepFiveThousandHappeningsAndTwoThousandLines', () => onPage(async page => {
        for (let n = 1; n <= 20000; ++n) {
            receiver.happen(n % 4 === 0 ? 'log' : 'air', 'carousel', `number ${n}`, { level: 'log' });
            if (n % 2000 === 0)
                await until(() => page.evaluate(last => app.record.lastId === last, receiver.nextId - 1), `number ${n}`);
        }
        await waitForText(page, '#timeline .lines', 'number 19999');
        const kept = await page.evaluate(() => [app.record.happenings.length, app.record.lines.length]);
        assert.deepEqual(kept, [5000, 2000]);
        await until(async () => await page.locator('#log-lines li').count() === 2000, 'two thousand lines');
        await waitForText(page, '#log-lines', 'number 20000');
        assert.equal(await page.locator('#timeline .lines li').count(), 200);
        await waitForText(page, '#timeline output', '5,000 of 5,000 records, 13,018 older ones not kept');
    }));

    it('CutATextAndDetailsThatAreTooLong', () => onPage(async page => {
        receiver.happen('air', 'service', 'x'.repeat(100000), { name: 'y'.repeat(100000) });
        await waitForText(page, '#timeline .lines', 'xxx…');
        const [text, details] = await page.evaluate(() => {
            const last = app.record.happenings[app.record.happenings.length - 1];
            return [last.text.length, last.details];
        });
        assert.deepEqual([text, details], [2001, { cut: true }]);
    }));

    it('DoNotGrowWhileZapping', () => onPage(async (page, context) => {
        const session = await context.newCDPSession(page);
        const zap = async times => {
            for (let n = 0; n < times; ++n) {
                receiver.happen('user', 'zap', `zap to service ${n % 4}`, { service: n % 4 });
                for (let m = 0; m < 20; ++m)
                    receiver.happen(m % 3 === 0 ? 'log' : 'air', 'ait', `version ${m} of service ${n % 4}`, { version: m, level: 'log' });
                receiver.obey(`zap ${n % 2 + 1}`);
                receiver.paint(picture(n % 256, 0, 0, 64, 36));
                if (n % 20 === 19)
                    await until(() => page.evaluate(last => app.record.lastId === last, receiver.nextId - 1), `zap ${n}`);
            }
            await shownPicture(page, receiver.painting);
        };
        const used = async () => {
            await page.evaluate(() => new Promise(done => { requestAnimationFrame(() => requestAnimationFrame(done)); }));
            await session.send('HeapProfiler.collectGarbage');
            const { jsHeapUsedSize } = await session.send('Runtime.getHeapUsage').then(({ usedSize }) => ({ jsHeapUsedSize: usedSize }));
            const { nodes } = await session.send('Memory.getDOMCounters');
            return { bytes: jsHeapUsedSize, nodes };
        };
        await zap(400);  // until everything is full
        const full = await used();
        await zap(400);
        const later = await used();
        assert.ok(later.bytes < full.bytes * 1.1 + 500000, `${full.bytes} bytes became ${later.bytes}`);
        assert.ok(later.nodes < full.nodes * 1.1 + 500, `${full.nodes} nodes became ${later.nodes}`);
    }));
});
