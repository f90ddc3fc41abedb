'use strict';

// The television in a browser's tab, all of it real: the sample station, the receiver with its own
// browser, and a tab before it.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { pathToFileURL } = require('node:url');
const { Receiver, root, temporaryFolder, until } = require('./receiver.js');
const { Stand } = require('./stand.js');

const stand = new Stand();
const folder = temporaryFolder();
const stream = path.join(folder, 'station.ts');
let receiver;

before(async () => {
    execFileSync(process.env.VESTA_STATION, ['make', '--start', 'now', 'samples/vesta-one/station.json', stream], { cwd: root });
    receiver = await Receiver.start(['--browser', 'wpe', '--loop', stream]);
    await receiver.command('wait shown within 60');
});

after(() => receiver.stop());

/// A tab in which the station is known.
function inTab(use) {
    return stand.visit(receiver.url, {}, async (page, context) => {
        await page.locator('#channel-list button').nth(1).waitFor();
        await use(page, context);
    });
}

const state = () => receiver.json('/state.json');

const shownNumber = async page => {
    const found = /(\d+)/.exec(await page.locator('#screen-number').innerText());
    return found ? Number(found[1]) : 0;
};

/// The colours of the picture in the tab, a pixel in 40.
const pixelsOf = page => page.evaluate(() => {
    const picture = document.getElementById('picture');
    const { data } = picture.getContext('2d').getImageData(0, 0, picture.width, picture.height);
    return Array.from(data.filter((_, index) => index % 160 < 3));
});

describe('Television', () => {
    it('ShowsWhatAViewerSeesAndWhatKeysChange', () => inTab(async page => {
        await until(async () => await shownNumber(page) > 0, 'a picture');
        await receiver.command('wait painted within 20');
        const { screen } = await state();
        await until(async () => await shownNumber(page) >= screen.painting, 'the picture that was painted');
        const before = await pixelsOf(page);
        assert.ok(new Set(before).size > 10);
        await page.getByRole('button', { name: /red/i }).first().click();
        await until(async () => (await pixelsOf(page)).some((value, index) => Math.abs(value - before[index]) > 40), 'another picture');
        const { happenings } = await receiver.json('/happenings.json');
        const key = happenings.filter(one => one.source === 'user' && one.event === 'key').at(-1);
        assert.equal(key.details.key, 'RED');
        assert.equal(key.details.consumed, true);
    }));

    it('GivesProgramsThePictureWithItsNumber', async () => {
        const { screen } = await state();
        const [one, other] = await Promise.all([receiver.picture(), receiver.picture()]);
        assert.equal(one.bytes.subarray(1, 4).toString(), 'PNG');
        assert.deepEqual([one.bytes.readUInt32BE(16), one.bytes.readUInt32BE(20)], [1280, 720]);
        assert.ok(Number(one.headers['x-painting']) >= screen.painting);
        assert.ok(one.bytes.equals(other.bytes) || one.headers['x-painting'] !== other.headers['x-painting']);
    });

    it('TakesTheComputersKeys', () => inTab(async page => {
        const keysNow = async () => {
            const { happenings } = await receiver.json('/happenings.json');
            return happenings.filter(one => one.source === 'browser' && one.event === 'key').map(one => one.details.key);
        };
        await page.locator('#picture').click();
        const already = (await keysNow()).length;
        await page.keyboard.press('F1');
        await page.keyboard.press('ArrowDown');
        await until(async () => (await keysNow()).length >= already + 2, 'the keys');
        const keys = (await keysNow()).slice(already);
        assert.ok(keys.includes('RED') || keys.includes('DOWN'), keys.join());
    }));

    it('ZapsToAnotherServiceAndTellsWhatRunsThere', () => inTab(async page => {
        await page.locator('#channel-list button', { hasText: 'Vesta Two' }).click();
        await until(async () => (await state()).services.some(one => one.id === 2 && one.tuned), 'the second service');
        await page.locator('#channel-list [aria-current], #channel-list [aria-pressed=true]', { hasText: 'Vesta Two' }).waitFor();
        await until(async () => {
            const { applications } = await state();
            const shown = await page.locator('#now').innerText();
            return applications.length > 0 && shown.includes(applications[0].application);
        }, 'the application of the second service');
        await page.locator('#channel-list button', { hasText: 'Vesta One' }).click();
        await until(async () => (await state()).services.some(one => one.id === 1 && one.tuned), 'the first service');
    }));

    it('TellsInItsTimelineWhatIsClicked', () => inTab(async page => {
        const known = event => page.evaluate(wanted => app.record.happenings.filter(one => one.event === wanted).at(-1), event);
        const record = page.locator('#timeline .record');
        await until(() => known('zap'), 'the zap');
        await page.getByRole('button', { name: 'All' }).click();
        for (const event of ['zap', 'start', 'tuned', 'ait']) {
            const { id, text } = await known(event);
            // Where several lie at one place, one of them is shown, and the list goes to it. Time goes on
            // meanwhile, and may move the place away from under the mouse.
            await until(async () => {
                const position = await page.evaluate(wanted => app.timeline.placeOf(app.record.happenings.find(one => one.id === wanted)), id);
                await page.locator('#timeline canvas').click({ position });
                return /\d\.\d{3} s/.test(await record.innerText());
            }, 'a record');
            await page.getByLabel('Filter').fill(text);
            await page.locator('#timeline .lines button').first().click();
            await until(async () => (await record.innerText()).includes(text.slice(0, 40)), text);
            await page.getByLabel('Filter').fill('');
        }
    }));

    it('TwoTabsSeeTheSameAndAReloadLosesNothing', () => inTab(one => inTab(async other => {
        await receiver.command('say seen by both');
        for (const page of [one, other])
            await until(async () => page.evaluate(() => app.record.happenings.some(each => each.text === 'seen by both')), 'the record');
        const known = await one.evaluate(() => app.record.happenings.map(each => each.id));
        await one.reload();
        await one.locator('#channel-list button').nth(1).waitFor();
        await until(async () => (await one.evaluate(() => app.record.happenings.length)) >= known.length, 'all records');
        const again = await one.evaluate(() => app.record.happenings.map(each => each.id));
        for (const id of known)
            assert.ok(again.includes(id), id);
    })));

    it('OpensNoFileOfThisMachine', async () => {
        const file = path.join(folder, 'secret.html');
        fs.writeFileSync(file, '<body style="background: #f00">secret</body>');
        const url = pathToFileURL(file).href;
        const other = await Receiver.start(['--browser', 'wpe', '--loop', stream]);
        await other.command('wait shown within 60');
        await other.command(`start ${url}`);
        const failed = await until(async () => (await other.json('/happenings.json')).happenings
            .find(one => one.event === 'load-failed' && one.details.url === url), 'the failure');
        assert.match(failed.text, /no address that a page may have/);
        const { happenings } = await other.json('/happenings.json');
        assert.ok(!happenings.some(one => one.event === 'loaded' && /secret/.test(one.text)));
        assert.equal(await other.stop(), 0);
    });

    it('CostsTheApplicationManagerNothingThatIsSeenWhileTenTabsWatch', async () => {
        const readers = Array.from({ length: 10 }, () => receiver.listen());
        await Promise.all(readers.map(reader => until(() => reader.events.length > 0, 'hello')));
        for (let number = 0; number < 5; ++number) {
            await Promise.all(readers.map(() => receiver.request('/state.json')));
            await Promise.all(readers.map(() => receiver.request('/screen.png')));
            assert.equal((await receiver.command('key RED')).status, 200);
        }
        for (const reader of readers)
            reader.close();
        assert.equal((await receiver.command('wait painted within 20')).outcome, 'done');
    });
});

describe('Restart', () => {
    it('ATabGoesOnWithTheReceiverThatComesBack', () => inTab(async page => {
        const { port } = receiver;
        const run = (await receiver.json('/happenings.json')).run;
        await receiver.stop();
        await page.locator('body:not([data-connection=connected])').waitFor();
        receiver = await Receiver.start(['--browser', 'wpe', '--loop', stream], String(port));
        await page.locator('[data-connection=connected]').first().waitFor();
        const next = (await receiver.json('/happenings.json')).run;
        assert.notEqual(next, run);
        await until(() => page.evaluate(() => app.record.run).then(known => known === next), 'the new run');
    }));
});

describe('Hostile stream', () => {
    it('IsTextToThePageAndToAReport', async () => {
        const file = path.join(folder, 'hostile.html');
        const hostile = await Receiver.start(['--report', file, path.join(process.env.VESTA_STREAMS, 'markup.ts')]);
        await hostile.command('wait loaded within 60');
        await hostile.command('say "</script><img src=x onerror=alert(1)>"');
        const isUnharmed = async page => {
            const injected = await page.evaluate(() => document.querySelectorAll('img[src="x"], [onclick], [onerror]').length);
            assert.equal(injected, 0);
            const text = await page.evaluate(() => document.body.innerText);
            assert.match(text, /<img src=x onerror=alert\(1\)>/);
            assert.doesNotMatch(text, /[\u001b\u202e]/);
        };
        await stand.visit(hostile.url, {}, async page => {
            page.on('dialog', () => assert.fail('a script of the stream ran'));
            await page.locator('#channel-list button').nth(1).waitFor();
            assert.equal((await page.locator('#channel-list button').allInnerTexts()).filter(text => text.includes('<img src=x')).length, 2);
            await until(async () => (await page.locator('#now').innerText()).includes('<img src=x onerror=alert(1)>.html'), 'the name of the file');
            await isUnharmed(page);
        });
        assert.equal(await hostile.stop(), 0);
        await stand.visit(pathToFileURL(file).href, {}, async page => {
            page.on('dialog', () => assert.fail('a script of the stream ran'));
            await isUnharmed(page);
        });
    });
});

describe('Report', () => {
    it('OpensWithoutAServer', async () => {
        const file = path.join(folder, 'report.html');
        const script = path.join(folder, 'script');
        fs.writeFileSync(script, 'wait shown within 60\nkey RED\nwait painted\n');
        const run = new Receiver(['--browser', 'wpe', '--report', file, '--script', script, stream]);
        assert.equal(await run.exit, 0, run.output);
        await stand.visit(pathToFileURL(file).href, {}, async page => {
            await until(async () => (await page.locator('#timeline').innerText()).length > 0, 'the timeline');
            assert.ok((await page.locator('#log-lines').innerText()).length > 0);
            assert.ok((await page.locator('#now-panel').innerText()).includes('Vesta'));
        });
    });
});
