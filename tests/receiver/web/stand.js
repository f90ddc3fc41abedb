'use strict';

// A browser before a receiver's page, for tests.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before } = require('node:test');
const assert = require('node:assert/strict');
const { chromium } = require('playwright-core');

const browserArguments = ['--no-sandbox', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync', '--disable-gpu', '--force-color-profile=srgb', '--font-render-hinting=none'];

const patienceMs = 20000;  // how long a condition may take on a busy machine

/// Runs a browser for the tests of a file. Each test gets a page of its own, in a profile of its own.
class Stand {
    constructor() {
        before(async () => {
            this.folder = fs.mkdtempSync(path.join(os.tmpdir(), 'receiver-page-'));
            this.browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: browserArguments });
        });
        after(async () => {
            await this.browser.close();
            fs.rmSync(this.folder, { recursive: true });
        });
    }

    /// @param options playwright's, of a context
    async context(options = {}) {
        const context = await this.browser.newContext({ viewport: { width: 1440, height: 1000 }, colorScheme: 'light', reducedMotion: 'reduce', ...options });
        context.setDefaultTimeout(patienceMs);
        return context;
    }

    /// Opens an address and calls a function with the page; no script of the page may have failed then.
    async visit(address, options, use) {
        const context = await this.context(options);
        const faults = [];
        context.on('weberror', error => faults.push(String(error.error())));
        context.on('console', message => {
            const isExpected = message.text().startsWith('Failed to load resource');
            if (message.type() === 'error' && !isExpected)
                faults.push(message.text());
        });
        try {
            const page = await context.newPage();
            await page.goto(address);
            await use(page, context);
            assert.deepEqual(faults, []);
        } finally {
            await context.close();
        }
    }

    /// @return where a file is that the page saves when it is told to
    async saved(page, save) {
        const [download] = await Promise.all([page.waitForEvent('download'), save()]);
        const file = path.join(this.folder, `${process.hrtime.bigint()}-${download.suggestedFilename()}`);
        await download.saveAs(file);
        return file;
    }
}

/// Waits until a function gives a true value, and gives it.
async function until(condition, what) {
    const end = Date.now() + patienceMs;
    for (;;) {
        const value = await condition();
        if (value)
            return value;
        assert.ok(Date.now() < end, `in vain: ${what}`);
        await new Promise(done => setTimeout(done, 10));
    }
}

module.exports = { Stand, browserArguments, until };
