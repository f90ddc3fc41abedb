'use strict';

// take_picture.js STREAM FILE.png: the television in a tab, for the guides. ./dev pictures runs it.

const path = require('node:path');
const { chromium } = require('playwright-core');
const { Receiver, root, until } = require('./receiver.js');
const { browserArguments } = require('./stand.js');

async function main([stream, file]) {
    const site = `http://vesta.example/=${path.join(root, 'samples/vesta-one/site')}`;
    const receiver = await Receiver.start(['--browser', 'wpe', '--loop', '--site', site, stream]);
    const browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: browserArguments });
    const page = await browser.newPage({ viewport: { width: 1280, height: 1010 }, colorScheme: 'light', reducedMotion: 'reduce' });
    await page.goto(receiver.url);
    await page.locator('#channel-list button').nth(1).waitFor();
    for (const line of ['wait shown within 60', 'wait painted', 'key RED', 'wait painted', 'key INFO', 'key DOWN', 'wait painted'])
        await receiver.command(line);
    const { screen } = await receiver.json('/state.json');
    await until(async () => (await page.locator('#screen-number').innerText()).includes(String(screen.painting)), 'the last picture');
    await page.screenshot({ path: file });
    await browser.close();
    await receiver.stop();
}

main(process.argv.slice(2)).catch(problem => {
    console.error(`take_picture: ${problem.message}`);
    process.exit(1);
});
