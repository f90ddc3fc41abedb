'use strict';

// soak.js [HOURS [BROWSER [SPEED]]]: somebody zaps once a minute of the stream's time, for so many of
// its hours (24), with a tab open. What the receiver and the tab take must not grow after the first
// quarter. ./dev soak runs it.

const { execFileSync } = require('node:child_process');
const path = require('node:path');
const { chromium } = require('playwright-core');
const { Receiver, root, temporaryFolder, until } = require('./receiver.js');
const { browserArguments } = require('./stand.js');

const [hours = '24', browserName = 'console', speed = '240'] = process.argv.slice(2);
const minutes = Number(hours) * 60;
const mostGrowth = { receiver: 2 << 20, tab: 1 << 20, nodes: 100 };

async function measure(receiver, client, page) {
    await client.send('HeapProfiler.collectGarbage');
    const { metrics } = await client.send('Performance.getMetrics');
    const value = name => metrics.find(metric => metric.name === name).value;
    const kept = await page.evaluate(() => app.record.happenings.length);
    return { receiver: receiver.memory, tab: value('JSHeapUsedSize'), nodes: value('Nodes'), kept };
}

function say(minute, figures) {
    const mebibytes = bytes => (bytes / (1 << 20)).toFixed(1);
    console.log(`${(minute / 60).toFixed(1).padStart(5)} h  receiver ${mebibytes(figures.receiver)} MiB, tab ${mebibytes(figures.tab)} MiB`
        + ` and ${figures.nodes} nodes, ${figures.kept} records kept`);
}

/// The clock of the stream goes on; what is waited for is its next minute.
async function zapThrough(receiver, look) {
    const begin = Date.now();
    for (let minute = 1; minute <= minutes; ++minute) {
        const due = begin + minute * 60000 / Number(speed);
        await new Promise(resolve => setTimeout(resolve, Math.max(0, due - Date.now())));
        await receiver.command(`zap ${minute % 2 + 1}`);
        await receiver.command(`key ${minute % 3 === 0 ? 'BACK' : 'RED'}`);
        await look(minute);
    }
}

async function main() {
    const stream = path.join(temporaryFolder(), 'station.ts');
    execFileSync(process.env.VESTA_STATION, ['make', 'samples/vesta-one/station.json', stream], { cwd: root });
    const receiver = await Receiver.start(['--browser', browserName, '--loop', '--speed', speed, stream]);
    const browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: browserArguments });
    const page = await browser.newPage();
    await page.goto(receiver.url);
    await page.locator('#channel-list button').nth(1).waitFor();
    const client = await page.context().newCDPSession(page);
    await client.send('Performance.enable');
    let before;
    let last;
    await zapThrough(receiver, async minute => {
        if (minute % Math.ceil(minutes / 12) !== 0 && minute !== minutes)
            return;
        last = await measure(receiver, client, page);
        say(minute, last);
        if (minute >= minutes / 4)
            before = before || last;
    });
    await until(() => page.evaluate(() => document.body.innerText.length > 0), 'the page');
    await browser.close();
    await receiver.stop();
    for (const name of Object.keys(mostGrowth)) {
        const growth = last[name] - before[name];
        if (growth > mostGrowth[name])
            throw new Error(`${name} grew by ${growth}, more than ${mostGrowth[name]}`);
    }
    console.log(`nothing grew in ${hours} hours of the stream`);
}

main().catch(problem => {
    console.error(`soak: ${problem.message}`);
    process.exit(1);
});
