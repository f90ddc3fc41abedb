/* The programme guide of the channel that is on. */
(function () {
    var rowsShown = 6;
    var programmes = [];
    var chosen = 0;

    function draw() {
        var list = TV.clear(TV.byId('list'));
        var first = Math.max(0, Math.min(chosen - 2, programmes.length - rowsShown));
        for (var i = first; i < programmes.length && i < first + rowsShown; ++i) {
            var row = TV.element('div', i === chosen ? 'row cut chosen' : 'row cut',
                                 programmes[i].name);
            row.appendChild(TV.element('span', 'time', TV.time(programmes[i].start)));
            list.appendChild(row);
        }
        if (programmes.length === 0) {
            list.appendChild(TV.element('div', 'nothing soft', 'Nothing is announced.'));
        }
        drawDetail(programmes[chosen]);
    }

    function drawDetail(programme) {
        TV.write('detail-time', programme ? TV.time(programme.start) + ' \u2013 ' +
                                                TV.time(programme.end) : '');
        TV.write('detail-name', programme ? programme.name : '');
        TV.write('detail-text', programme ? programme.text : '');
    }

    function move(step) {
        chosen = Math.max(0, Math.min(chosen + step, programmes.length - 1));
        draw();
    }

    function toMenu() {
        location.href = '../launcher/index.html#menu';
    }

    /* What is over is not announced any more; a clock that knows better is not believed. */
    function upcoming(list) {
        var now = Date.now();
        var left = list.filter(function (programme) { return !(programme.end <= now); });
        return left.length > 0 ? left : list;
    }

    window.addEventListener('load', function () {
        var name = TV.channelName();
        TV.bindVideo();
        TV.write('channel', name);
        document.body.className = /two$/i.test(name) ? 'two' : '';
        TV.write('clock', TV.time(Date.now()));
        setInterval(function () { TV.write('clock', TV.time(Date.now())); }, 15000);
        TV.onKeys({
            RED: toMenu,
            BACK: toMenu,
            UP: function () { move(-1); },
            DOWN: function () { move(1); }
        });
        TV.keys(['RED', 'NAVIGATION']);
        programmes = TV.programmes();
        draw();
        TV.schedule(function (list) {
            programmes = upcoming(list);
            chosen = 0;
            draw();
        });
        TV.show();
        TV.byId('guide').className = 'panel fades there';
    }, false);
}());
