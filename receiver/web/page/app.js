'use strict';

// The page of a receiver that runs: what comes from it goes to the panels, commands go to it.

const statusWords = {
    connecting: 'Connecting…',
    connected: 'Connected',
    gone: 'The receiver is not there. Trying again…',
    ended: 'The receiver has ended. Waiting for the next one…',
};

class App {
    constructor() {
        this.record = new Record();
        this.state = null;
        this.connection = new Connection({
            hello: greeting => this.greeted(greeting),
            happening: (happening, isNew) => this.happened(happening, isNew),
            state: state => this.setState(state),
            screen: painting => this.screen.announce(painting),
            status: word => this.setStatus(word),
        }, () => this.record.run ? `${this.record.run}.${this.record.lastId}` : '');
        this.screen = new Screen();
        this.remote = new Remote(line => this.connection.command(line));
        this.timeline = new Timeline(find('timeline'), this.record);
        this.log = new Log(this.record);
        this.switches = new Switches(line => this.send(line));
        this.listen();
        this.connection.follow();
    }

    listen() {
        document.addEventListener('click', event => {
            const button = event.target.closest('button[data-command]');
            if (button)
                this.send(button.dataset.command);
        });
        find('save-json').addEventListener('click', () => saveJson(this.record, this.state));
        find('save-html').addEventListener('click', async () => {
            const isSaved = await saveHtml(this.record, this.state);
            this.say(isSaved ? 'The report is saved.' : 'The report cannot be made: the receiver does not answer.', isSaved);
        });
    }

    greeted({ run, version }) {
        if (run !== this.record.run)
            this.begin(run, version);
    }

    /// Another run than before: nothing of the former one counts.
    begin(run, version) {
        this.record.begin(run, version);
        this.state = null;
        this.timeline.begin();
        this.log.begin();
        this.screen.begin();
        this.remote.begin();
        find('run').textContent = `version ${visible(version)}, run ${visible(run)}`;
    }

    happened(happening, isNew) {
        if (!this.record.add(happening))
            return;
        if (happening.source === 'log') {
            this.log.redraw();
            return;
        }
        this.timeline.redraw();
        if (isNew)  // nobody is told of a key of long ago as if it were pressed now
            this.remote.happened(happening);
    }

    setState(state) {
        this.state = state;
        update(find('input'), element('bdi', null, state.stream.input), state.stream.ended ? ' (ended)' : null);
        find('time').textContent = seconds(state.time);
        document.title = `${visible(state.stream.input)}: receiver`;
        this.screen.setState(state);
        this.remote.setState(state);
        this.switches.setState(state);
        showChannels(state);
        showNow(find('now-panel'), state, true);
    }

    setStatus(word) {
        const isBack = word === 'connecting' && document.body.dataset.connection !== undefined;
        if (isBack)  // an attempt is no news
            return;
        document.body.dataset.connection = word;
        find('status').textContent = statusWords[word];
    }

    async send(line) {
        const answer = await this.connection.command(line);
        const isDone = answer.outcome === 'done';
        const lines = answer.lines && answer.lines.length > 0 ? `: ${answer.lines.join('; ')}` : '';
        this.say(isDone ? `${line}: done${lines}` : `${line}: ${answer.text || answer.outcome}`, isDone);
        return answer;
    }

    say(sentence, isGood) {
        find('command-answer').className = isGood ? 'good' : 'bad';
        update(find('command-answer'), sentence);
    }
}

const app = new App();
