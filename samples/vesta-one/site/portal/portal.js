/* Vesta Plus, a broadcast-independent application: a small library to choose from. */
(function () {
    var columns = 3;
    var chosen = 0;
    var isSheetOpen = false;

    var titles = [
        { name: 'The Quiet Orchard', kind: 'FILM', look: 'dusk', text: 'Two sisters inherit a garden, a debt and a dog.' },
        { name: 'Slow Rivers', kind: 'SERIES, 8 PARTS', look: 'sea', text: 'A barge, a cook and nine locks: down to the sea in a week.' },
        { name: 'Cup Night', kind: 'SPORT', look: 'field', text: 'All goals of the coastal cup, an hour after the whistle.' },
        { name: 'Night Trains', kind: 'DOCUMENTARY', look: 'night', text: 'From one end of the line to the other, without a word.' },
        { name: 'Letters from the Lighthouse', kind: 'DRAMA', look: 'sand', text: 'After forty years a keeper finds that somebody has been writing back.' },
        { name: 'Small Machines', kind: 'SCIENCE', look: 'stone', text: 'How a watch knows the time, and other questions for a winter evening.' }
    ];

    function byId(id) {
        return document.getElementById(id);
    }

    function write(id, text) {
        byId(id).textContent = text;
    }

    function application() {
        try {
            return byId('appmgr').getOwnerApplication(document);
        } catch (problem) {
            return null;
        }
    }

    function code(name, usual) {
        var own;
        try {
            own = KeyEvent['VK_' + name];
        } catch (problem) {
            own = undefined;
        }
        own = typeof own === 'number' ? own : window['VK_' + name];
        return typeof own === 'number' ? own : usual;
    }

    function askForKeys() {
        try {
            var keyset = application().privateData.keyset;
            keyset.setValue(typeof keyset.NAVIGATION === 'number' ? keyset.NAVIGATION : 0x10);
        } catch (problem) {
            return; // a terminal without key sets sends the keys unasked
        }
    }

    function end() {
        try {
            application().destroyApplication();
        } catch (problem) {
            history.back();
        }
    }

    /* Who opened this page said which channel was on: "?onid=8442&tsid=1089&sid=1". Tuning to it
       ends this application, which its table does not have, and starts the channel's own. */
    function returnToChannel() {
        try {
            var ids = /onid=(\d+)&tsid=(\d+)&sid=(\d+)/.exec(location.search);
            var video = byId('video');
            var channel = video.getChannelConfig().channelList.getChannelByTriplet(
                Number(ids[1]), Number(ids[2]), Number(ids[3]));
            if (!channel) {
                return false;
            }
            video.setChannel(channel, false);
            return true;
        } catch (problem) {
            return false;
        }
    }

    function leave() {
        if (returnToChannel()) {
            setTimeout(end, 3000); // where the terminal keeps it
        } else {
            end();
        }
    }

    function draw() {
        var tiles = byId('tiles').children;
        for (var i = 0; i < tiles.length; ++i) {
            tiles[i].className = 'tile ' + titles[i].look + (i === chosen ? ' chosen' : '');
        }
        write('lead-kind', titles[chosen].kind);
        write('lead-title', titles[chosen].name);
        write('lead-text', titles[chosen].text);
    }

    function makeTiles() {
        titles.forEach(function (title, index) {
            var tile = document.createElement('div');
            var name = document.createElement('span');
            name.className = 'name';
            name.textContent = title.name;
            tile.appendChild(name);
            tile.style.left = (index % columns) * 386 + 'px';
            tile.style.top = Math.floor(index / columns) * 152 + 'px';
            byId('tiles').appendChild(tile);
        });
    }

    function openSheet() {
        isSheetOpen = true;
        write('sheet-title', titles[chosen].name);
        write('sheet-text', titles[chosen].text + ' This station has the page, but not the film: it shows how an application comes over the network.');
        byId('sheet').className = 'there';
    }

    function closeSheet() {
        isSheetOpen = false;
        byId('sheet').className = '';
    }

    function move(step) {
        var next = chosen + step;
        if (!isSheetOpen && next >= 0 && next < titles.length) {
            chosen = next;
            draw();
        }
    }

    function drawClock() {
        var now = new Date();
        write('clock', ('0' + now.getHours()).slice(-2) + ':' + ('0' + now.getMinutes()).slice(-2));
    }

    var keys = [
        [code('LEFT', 37), function () { move(-1); }],
        [code('RIGHT', 39), function () { move(1); }],
        [code('UP', 38), function () { move(-columns); }],
        [code('DOWN', 40), function () { move(columns); }],
        [code('ENTER', 13), function () { (isSheetOpen ? closeSheet : openSheet)(); }],
        [code('BACK', 461), function () { (isSheetOpen ? closeSheet : leave)(); }]
    ];

    document.addEventListener('keydown', function (event) {
        keys.forEach(function (key) {
            if (event.keyCode === key[0]) {
                event.preventDefault();
                key[1]();
            }
        });
    }, false);

    window.addEventListener('load', function () {
        makeTiles();
        draw();
        drawClock();
        setInterval(drawClock, 15000);
        askForKeys();
        try {
            application().show();
        } catch (problem) {
            return; // shown already
        }
    }, false);
}());
