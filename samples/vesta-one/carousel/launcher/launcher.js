/* The red button: a hint that comes and goes, a menu, and what the programme itself reports. */
(function () {
    var hintMs = 8000;
    var liveMs = 9000;
    var isOpen = false;
    var chosen = 0;
    var liveTimer = null;
    var hintTimer = null;

    var items = [
        { title: 'Programme guide', colour: 'green', open: openGuide },
        { title: 'Vesta Text', colour: 'yellow', open: openText },
        { title: 'Vesta Plus', colour: 'blue', open: openPortal },
        { title: 'Back to the picture', colour: 'red', open: closeMenu }
    ];

    function setThere(id, isThere) {
        var element = TV.byId(id);
        var classes = element.className.replace(/ there\b/g, '');
        element.className = classes + (isThere ? ' there' : '');
    }

    function showHint() {
        clearTimeout(hintTimer);
        setThere('hint', true);
        hintTimer = setTimeout(function () { setThere('hint', false); }, hintMs);
    }

    function drawItems() {
        var list = TV.clear(TV.byId('items'));
        for (var i = 0; i < items.length; ++i) {
            var item = TV.element('div', i === chosen ? 'item chosen' : 'item', items[i].title);
            item.appendChild(TV.element('span', 'dot ' + items[i].colour));
            list.appendChild(item);
        }
    }

    function drawProgramme(id, programme) {
        TV.write(id + '-name', programme ? programme.name : 'No information');
        TV.write(id + '-time', programme ? TV.time(programme.start) + ' \u2013 ' +
                                               TV.time(programme.end) : '');
    }

    function drawProgrammes() {
        var programmes = TV.programmes();
        var now = programmes[0];
        drawProgramme('now', now);
        drawProgramme('next', programmes[1]);
        var part = now ? (Date.now() - now.start) / (now.end - now.start) : 0;
        TV.byId('progress').style.width = part > 0 && part <= 1 ? Math.round(part * 100) + '%' : '0';
        TV.write('clock', TV.time(Date.now()));
    }

    function drawChannel() {
        var name = TV.channelName();
        TV.write('channel', name);
        TV.write('hint-channel', name);
        document.body.className = /two$/i.test(name) ? 'two' : '';
    }

    function openMenu() {
        isOpen = true;
        chosen = 0;
        clearTimeout(hintTimer);
        TV.keys(['RED', 'GREEN', 'YELLOW', 'BLUE', 'NAVIGATION']);
        drawChannel();
        drawItems();
        drawProgrammes();
        setThere('hint', false);
        setThere('live', false);
        setThere('menu', true);
        setThere('programmes', true);
        setThere('legend', true);
    }

    function closeMenu() {
        isOpen = false;
        TV.keys(['RED']);
        setThere('menu', false);
        setThere('programmes', false);
        setThere('legend', false);
        showHint();
    }

    function move(step) {
        if (isOpen) {
            chosen = (chosen + step + items.length) % items.length;
            drawItems();
        }
    }

    function whenOpen(action) {
        return function () {
            if (isOpen) {
                action();
            }
        };
    }

    function openGuide() {
        location.href = '../guide/index.html';
    }

    function openText() {
        if (!TV.change('dvb://current.ait/7e57.2')) {
            location.href = '../text/index.html';
        }
    }

    function openPortal() {
        if (!TV.change('http://vesta.example/portal/index.html' + TV.channelQuery())) {
            closeMenu();
        }
    }

    function showLive(kind, title, score, text) {
        var live = TV.byId('live');
        TV.write('live-title', title);
        TV.write('live-score', score);
        TV.write('live-text', text);
        live.className = 'panel fades ' + kind;
        clearTimeout(liveTimer);
        if (!isOpen) {
            setThere('live', true);
        }
        liveTimer = setTimeout(function () { setThere('live', false); }, liveMs);
    }

    /* "58;Harbour;2;Meadow;1;Lind again" */
    function showScore(text) {
        var parts = text.split(';');
        if (parts.length >= 6) {
            showLive('score', 'LIVE \u00B7 MINUTE ' + parts[0],
                     parts[1] + ' ' + parts[2] + ' : ' + parts[4] + ' ' + parts[3], parts[5]);
        }
    }

    function showFlash(text) {
        showLive('flash', 'ON VESTA', '', text);
    }

    window.addEventListener('load', function () {
        TV.bindVideo();
        drawChannel();
        TV.onKeys({
            RED: function () { (isOpen ? closeMenu : openMenu)(); },
            GREEN: whenOpen(openGuide),
            YELLOW: whenOpen(openText),
            BLUE: whenOpen(openPortal),
            BACK: whenOpen(closeMenu),
            UP: function () { move(-1); },
            DOWN: function () { move(1); },
            ENTER: whenOpen(function () { items[chosen].open(); })
        });
        TV.keys(['RED']);
        TV.onStreamEvent('events/live', 'score', showScore);
        TV.onStreamEvent('events/live', 'flash', showFlash);
        TV.attempt(function () {
            TV.byId('video').onProgrammesChanged = function () {
                drawProgrammes();
            };
        });
        setInterval(whenOpen(drawProgrammes), 15000);
        TV.show();
        if (location.hash === '#menu') {
            openMenu();
        } else {
            showHint();
        }
    }, false);
}());
