'use strict';

// The screen: what a viewer sees, or, where the browser paints nothing, the source of the page.

class Screen {
    constructor() {
        this.canvas = find('picture');
        this.frame = find('screen-frame');
        this.begin();
        this.pictures = new Latest(() => this.fetchPicture());
        this.pages = new Latest(() => this.fetchPage());
        find('outlines').addEventListener('change', () => this.drawOutlines());
        find('save-picture').addEventListener('click', () => this.savePicture());
    }

    begin() {
        this.state = null;
        this.wanted = -1;  // the number of the latest painting that is announced
        this.drawn = -1;
        this.canvas.getContext('2d').clearRect(0, 0, this.canvas.width, this.canvas.height);
        update(find('screen-outlines'));
        update(find('page-source'));
        update(find('page-resources'));
    }

    get paints() { return Boolean(this.state && this.state.screen && this.state.screen.paints); }

    setState(state) {
        this.state = state;
        find('screen-picture').hidden = !this.paints;
        find('screen-page').hidden = this.paints;
        if (this.paints)
            this.announce(state.screen.painting);
        else
            this.pages.ask();
        this.drawOutlines();
    }

    /// There is a new painting. Called as often as they come.
    announce(painting) {
        this.wanted = Math.max(this.wanted, painting);
        if (this.paints && this.wanted !== this.drawn)
            this.pictures.ask();
    }

    async fetchPicture() {
        if (this.wanted === this.drawn || document.hidden)
            return;
        const announced = this.wanted;
        const answer = await fetched('/screen.png', async picture =>
            [await createImageBitmap(await picture.blob()), Number(picture.headers.get('X-Painting'))]);
        if (!answer)
            return;
        const [picture, painting] = answer;
        this.draw(picture);
        picture.close();
        this.drawn = Math.max(painting, announced);
        find('screen-number').textContent = `Picture ${painting}`;
    }

    draw(picture) {
        if (this.canvas.width !== picture.width || this.canvas.height !== picture.height) {
            this.canvas.width = picture.width;
            this.canvas.height = picture.height;
        }
        this.canvas.getContext('2d').drawImage(picture, 0, 0);
    }

    savePicture() {
        this.canvas.toBlob(blob => saveFile('screen.png', 'image/png', blob), 'image/png');
    }

    drawOutlines() {
        const outlines = [];
        if (find('outlines').checked && this.paints) {
            const { width, height, video } = this.state.screen;
            const windows = this.state.windows.map(window => `window ${window.id}${window.shown ? '' : ' (hidden)'}`);
            if (windows.length > 0)  // they fill the screen
                outlines.push(outline(windows.join(', '), 'windows', 0, 0, 1, 1));
            if (video)
                outlines.push(outline(`video ${video.width} × ${video.height} at ${video.x}, ${video.y}`, 'video',
                    video.x / width, video.y / height, video.width / width, video.height / height));
        }
        find('screen-outlines').replaceChildren(...outlines);
    }

    async fetchPage() {
        const window = this.currentWindow();
        this.showPage(window ? await fetched(`/page.json?window=${window.id}`, answer => answer.json()) : null);
    }

    currentWindow() {
        const windows = this.state ? this.state.windows : [];
        return windows.find(window => window.has_keys) || windows.find(window => window.shown) || windows[0];
    }

    showPage(page) {
        find('screen-number').textContent = page ? `Window ${page.window}` : '';
        update(find('page-address'), page ? `${page.url}, ${page.type}, ${withSeparators(page.size)} bytes` : 'No page is loaded.');
        const source = page ? visibleLines(page.source) + (page.is_cut ? '\n… (cut)' : '') : '';
        if (find('page-source').textContent !== source)
            find('page-source').textContent = source;
        const resources = page ? page.resources : [];
        update(find('page-resources'), resources.length === 0 ? null :
            table('What the page loaded', ['Loaded', 'Status', 'Bytes', 'Type'], resources.map(resource =>
                [resource.url, resource.status || 'no connection',
                    withSeparators(resource.size), resource.type])));
    }
}

function outline(label, kind, left, top, width, height) {
    const made = element('div', { class: `outline ${kind}` }, element('span', null, label));
    made.style.left = `${100 * left}%`;
    made.style.top = `${100 * top}%`;
    made.style.width = `${100 * width}%`;
    made.style.height = `${100 * height}%`;
    return made;
}
