'use strict';

// What surrounds the application manager: broadband, memory, the integrator's answers, profiles.

const profileBits = [['profile-download', 1], ['profile-pvr', 2], ['profile-rtsp', 4]];

class Switches {
    /// @param send sends a command and gives its answer
    constructor(send) {
        this.send = send;
        this.state = null;
        const onChange = (id, line) => find(id).addEventListener('change', () => this.apply(line(find(id))));
        onChange('switch-broadband', box => `http ${box.checked ? 'on' : 'off'}`);
        onChange('switch-timeshift', box => `timeshift ${box.checked ? 'on' : 'off'}`);
        onChange('answer-start', list => `answer start ${list.value}`);
        onChange('answer-request', list => `answer request ${list.value}`);
        for (const [id] of profileBits)
            onChange(id, () => `profiles ${this.chosenProfiles()}`);
        find('start-form').addEventListener('submit', event => {
            event.preventDefault();
            this.start(find('start-what').value.trim());
        });
    }

    setState({ switches }) {
        this.state = switches;
        find('switch-broadband').checked = switches.http;
        find('switch-timeshift').checked = switches.timeshift;
        find('answer-start').value = switches.start;
        find('answer-request').value = switches.request;
        for (const [id, bit] of profileBits)
            find(id).checked = (switches.profiles & bit) !== 0;
        find('profiles-mask').textContent = `0x${switches.profiles.toString(16).padStart(4, '0')}`;
    }

    /// Bits that have no box stay as they are.
    chosenProfiles() {
        const known = profileBits.reduce((mask, [, bit]) => mask | bit, 0);
        const others = this.state ? this.state.profiles & ~known : 0;
        return profileBits.reduce((mask, [id, bit]) => find(id).checked ? mask | bit : mask, others);
    }

    start(what) {
        if (what !== '')
            this.send(/[\s"]/.test(what) ? `start "${what.replace(/"/g, '')}"` : `start ${what}`);
    }

    /// A switch that the receiver does not take falls back.
    async apply(line) {
        const answer = await this.send(line);
        if (answer.outcome !== 'done' && this.state)
            this.setState({ switches: this.state });
    }
}
