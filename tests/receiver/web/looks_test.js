'use strict';

// How the receiver's page looks, and that everybody can use it: both colour schemes, a phone's width, the
// keyboard alone, and the rules of WCAG A and AA that a program can check.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { pathToFileURL } = require('node:url');
const { afterEach, beforeEach, describe, it } = require('node:test');
const { PNG } = require('pngjs');
const { Stand, until } = require('./stand.js');
const { FakeReceiver, emptyState, exampleHappenings } = require('./fake_receiver.js');

const axe = fs.readFileSync(require.resolve('axe-core'), 'utf8');
const rules = ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice'];
const phone = { viewport: { width: 360, height: 740 }, hasTouch: true, isMobile: true };

const stand = new Stand();
let receiver;

beforeEach(async () => {
    receiver = new FakeReceiver();
    receiver.happenAll(exampleHappenings());
    await receiver.start();
});

afterEach(() => receiver.stop());

function onPage(options, use) {
    return stand.visit(receiver.address, options, async page => {
        await page.locator('[data-connection=connected] #channel-list li').first().waitFor();
        await page.locator('#timeline .lines li').last().waitFor();
        await use(page);
    });
}

/// What breaks a rule, in words that say where.
async function violations(page) {
    await page.evaluate(axe);
    const { violations: found } = await page.evaluate(tags => axe.run(document, { runOnly: tags }), rules);
    return found.flatMap(({ id, nodes }) => nodes.map(node => `${id}: ${node.target} ${node.failureSummary}`));
}

/// Everything that can be opened is open, and something is chosen.
async function openEverything(page) {
    await page.getByLabel('Outline video and windows').check();
    await page.getByText('Letters', { exact: true }).click();
    await page.getByLabel('Level').selectOption('debug');
    await page.locator('#timeline .lines li.bad button').first().click();
    await page.getByRole('button', { name: 'Blue' }).click();
    await page.locator('.answer.refused').waitFor();
    await page.getByRole('button', { name: /Vesta Two/ }).click();
    await page.locator('#command-answer.good').waitFor();
}

for (const colorScheme of ['light', 'dark']) {
    describe(`Rules of accessibility, ${colorScheme}`, () => {
        const check = (options, use) => onPage({ colorScheme, ...options }, async page => {
            await use(page);
            assert.deepEqual(await violations(page), []);
        });

        it('HoldForThePageAsItOpens', () => check({}, async () => {}));
        it('HoldForEverythingOpened', () => check({}, openEverything));
        it('HoldOnAPhone', () => check(phone, openEverything));

        it('HoldWhereThereIsNothing', async () => {
            receiver.state = emptyState();
            await check({}, async () => {});
        });

        it('HoldForTheSourceOfAPage', async () => {
            receiver.state.screen = { ...receiver.state.screen, paints: false };
            receiver.page = { window: 1, url: 'dvb://1/index.html', type: 'text/html', source: '<html>\n'.repeat(200), size: 30, is_cut: true,
                resources: [{ url: 'http://a.example/x.js', size: 1234, type: 'text/javascript', status: 200 }] };
            await check({}, page => page.locator('#page-resources table').waitFor());
        });

        it('HoldWithoutAReceiver', () => check({}, async page => {
            await receiver.stop();
            await page.locator('[data-connection=gone]').waitFor();
            await page.getByRole('button', { name: 'Memory is low' }).click();
            await page.locator('#command-answer.bad').waitFor();
            await receiver.start();
        }));

        it('HoldForAReport', async () => {
            let report;
            await onPage({ colorScheme }, async page => {
                report = await stand.saved(page, () => page.getByRole('button', { name: 'Save as HTML' }).click());
            });
            // The report's own policy keeps out what a page brings along for its tests.
            await stand.visit(pathToFileURL(report).href, { colorScheme, bypassCSP: true }, async page => {
                await page.locator('#timeline .lines li.bad button').first().click();
                assert.deepEqual(await violations(page), []);
            });
        });
    });
}

describe('The keyboard alone', () => {
    it('ReachesEverythingInOrderAndIsNeverTrapped', () => onPage({}, async page => {
        const wanted = await page.evaluate(() => [...document.querySelectorAll('a, button, input, select, summary, [tabindex="0"]')]
            .filter(one => one.checkVisibility()).length);
        const order = [];
        for (let n = 0; n < wanted + 5; ++n) {
            await page.keyboard.press('Tab');
            const place = await page.evaluate(() => {
                const focused = document.activeElement;
                return focused === document.body ? null : [...document.querySelectorAll('*')].indexOf(focused);
            });
            if (place === null || place === order[0])
                break;
            order.push(place);
        }
        assert.equal(order.length, wanted);
        assert.deepEqual(order, [...order].sort((a, b) => a - b), 'the order of the page');
        await page.keyboard.press('Shift+Tab');
        assert.deepEqual(receiver.commands, []);
    }));

    it('ShowsWhereTheFocusIs', () => onPage({}, async page => {
        for (const place of ['#screen-frame', '.key-ok', '#channel-list button', '#timeline canvas', '#switch-broadband', '#log-lines']) {
            await page.locator(place).first().focus();
            await page.keyboard.press('Shift+Tab');
            await page.keyboard.press('Tab');
            const outline = await page.locator(place).first().evaluate(one => getComputedStyle(one).outlineWidth);
            assert.ok(parseFloat(outline) >= 2, place);
        }
    }));
});

describe('Layout', () => {
    for (const width of [320, 360, 760, 1024, 1440, 1920]) {
        it(`FitsAWidthOf${width}`, () => onPage({ viewport: { width, height: 800 } }, async page => {
            receiver.happen('air', 'service', 'x'.repeat(600), { name: 'y'.repeat(600) });
            receiver.setState({ windows: [{ ...receiver.state.windows[0], url: `http://${'z'.repeat(500)}/` }] });
            await until(async () => (await page.locator('#now-panel').innerText()).includes('zzz'), 'the long address');
            await page.locator('#timeline .lines button').last().click();
            assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), 'nothing to the right');
            const screen = await page.locator('#screen').boundingBox();
            const remote = await page.locator('#remote').boundingBox();
            assert.equal(remote.x > screen.x + screen.width - 1, width > 760, 'the remote is beside the screen');
        }));
    }

    it('MovesNothingByItself', () => onPage({ reducedMotion: 'reduce' }, async page => {
        await page.getByRole('button', { name: 'Red' }).click();
        await page.locator('.answer.application').waitFor();
        assert.equal(await page.evaluate(() => document.getAnimations().length), 0);
    }));
});

describe('Pictures', () => {
    const mostDifferent = 0.005;  // of all pixels: edges of letters, in another release of the browser

    async function compare(locator, name) {
        const { default: pixelmatch } = await import(pathToFileURL(require.resolve('pixelmatch')));  // import() knows no NODE_PATH
        const file = path.join(__dirname, 'pictures', `${name}.png`);
        const shot = await locator.screenshot();
        if (process.env.KEEP_PICTURES) {
            fs.writeFileSync(file, shot);
            return;
        }
        const [seen, kept] = [PNG.sync.read(shot), PNG.sync.read(fs.readFileSync(file))];
        assert.deepEqual([seen.width, seen.height], [kept.width, kept.height]);
        const different = pixelmatch(seen.data, kept.data, null, seen.width, seen.height, { threshold: 0.1 });
        assert.ok(different <= mostDifferent * seen.width * seen.height, `${different} pixels of ${name} differ`);
    }

    it('TheRemoteControlInTheDark', () => onPage({ colorScheme: 'dark' }, page => compare(page.locator('#remote-keys'), 'remote-dark')));
    it('TheLanesInTheLight', () => onPage({ viewport: { width: 900, height: 900 } }, page => compare(page.locator('.lanes'), 'lanes-light')));
    it('TheTableOnAPhone', () => onPage(phone, page => compare(page.locator('.part', { hasText: 'Table in force' }), 'table-phone')));
});
