/* Digital teletext: a page is chosen by its three digits. */
(function () {
    var colours = ['red', 'green', 'yellow', 'blue'];
    var numbers = Object.keys(PAGES).map(Number).sort(function (a, b) { return a - b; });
    var current = 100;
    var typed = '';
    var typingTimer = null;
    var isMixed = false;

    function drawLine(text) {
        var kinds = { '# ': 'line head', '> ': 'line more' };
        var kind = kinds[text.substring(0, 2)];
        var parts = (kind ? text.substring(2) : text).split('|');
        var line = TV.element('div', kind || 'line', parts[0] || '\u00A0');
        if (parts.length > 1) {
            line.appendChild(TV.element('span', 'page', parts[1]));
        }
        return line;
    }

    function drawLinks(links) {
        var place = TV.clear(TV.byId('links'));
        for (var i = 0; i < links.length; ++i) {
            var entry = TV.element('span', 'entry');
            entry.appendChild(TV.element('span', 'dot ' + colours[i]));
            entry.appendChild(document.createTextNode(links[i][0]));
            place.appendChild(entry);
        }
    }

    function programmeLines() {
        var lines = ['# ' + TV.channelName()];
        TV.programmes().forEach(function (programme) {
            lines.push(TV.time(programme.start) + '  ' + programme.name, '> ' + programme.text);
        });
        return lines.length > 1 ? lines : lines.concat('No programme is announced.');
    }

    function drawNumber() {
        TV.write('number', typed === '' ? String(current) : (typed + '---').substring(0, 3));
        TV.byId('number').className = typed === '' ? '' : 'typing';
    }

    function open(number) {
        var page = PAGES[number];
        typed = '';
        if (page) {
            current = number;
            TV.write('title', page.title);
            var place = TV.clear(TV.byId('lines'));
            (page.programmes ? programmeLines() : page.lines).forEach(function (line) {
                place.appendChild(drawLine(line));
            });
            drawLinks(page.links);
        }
        drawNumber();
    }

    function type(digit) {
        clearTimeout(typingTimer);
        typed += String(digit);
        drawNumber();
        if (typed.length === 3) {
            open(Number(typed));
        } else {
            typingTimer = setTimeout(function () { open(current); }, 4000);
        }
    }

    function step(direction) {
        var at = numbers.indexOf(current) + direction;
        open(numbers[(at + numbers.length) % numbers.length]);
    }

    function link(index) {
        return function () {
            var target = PAGES[current].links[index];
            if (target) {
                open(target[1]);
            }
        };
    }

    function mix() {
        isMixed = !isMixed;
        TV.byId('page').className = isMixed ? 'panel mixed' : 'panel';
    }

    function drawClock() {
        TV.write('clock', TV.time(Date.now()));
    }

    window.addEventListener('load', function () {
        TV.bindVideo();
        TV.onKeys({
            RED: link(0), GREEN: link(1), YELLOW: link(2), BLUE: link(3),
            UP: function () { step(-1); },
            LEFT: function () { step(-1); },
            DOWN: function () { step(1); },
            RIGHT: function () { step(1); },
            ENTER: mix,
            BACK: TV.leave,
            digit: type
        });
        TV.keys(['RED', 'GREEN', 'YELLOW', 'BLUE', 'NAVIGATION', 'NUMERIC']);
        drawClock();
        setInterval(drawClock, 15000);
        TV.write('name', TV.channelName() + ' Text');
        open(100);
        TV.show();
    }, false);
}());
