/* What every page of the station needs of the television. Nothing here throws: a terminal may lack
   any of the objects, and a page must go on without them. */
var TV = (function () {
    var codes = {
        LEFT: 37, UP: 38, RIGHT: 39, DOWN: 40, ENTER: 13, BACK: 461,
        RED: 403, GREEN: 404, YELLOW: 405, BLUE: 406
    };
    var masks = {
        RED: 0x1, GREEN: 0x2, YELLOW: 0x4, BLUE: 0x8, NAVIGATION: 0x10, NUMERIC: 0x100
    };

    function attempt(action, otherwise) {
        try {
            return action();
        } catch (problem) {
            return otherwise;
        }
    }

    function byId(id) {
        return document.getElementById(id);
    }

    /* The code of a key: as the terminal says, else as most terminals do. */
    function code(name) {
        var key = 'VK_' + name;
        var known = attempt(function () { return KeyEvent[key]; });
        if (typeof known !== 'number') {
            known = window[key];
        }
        if (typeof known !== 'number') {
            known = /^[0-9]$/.test(name) ? 48 + Number(name) : codes[name];
        }
        return known;
    }

    function application() {
        return attempt(function () {
            return byId('appmgr').getOwnerApplication(document);
        }, null);
    }

    function show() {
        attempt(function () { application().show(); });
    }

    /* Asks for groups of keys, for example keys(['RED', 'NAVIGATION']). */
    function keys(groups) {
        attempt(function () {
            var keyset = application().privateData.keyset;
            var mask = 0;
            for (var i = 0; i < groups.length; ++i) {
                var own = keyset[groups[i]];
                mask |= typeof own === 'number' ? own : masks[groups[i]];
            }
            keyset.setValue(mask);
        });
    }

    /* Calls handlers.RED() and its like; a digit calls handlers.digit(5). What has a handler goes
       no further. */
    function onKeys(handlers) {
        document.addEventListener('keydown', function (event) {
            for (var name in handlers) {
                if (name !== 'digit' && event.keyCode === code(name)) {
                    event.preventDefault();
                    handlers[name]();
                    return;
                }
            }
            for (var digit = 0; handlers.digit && digit <= 9; ++digit) {
                if (event.keyCode === code(String(digit))) {
                    event.preventDefault();
                    handlers.digit(digit);
                    return;
                }
            }
        }, false);
    }

    function bindVideo() {
        attempt(function () { byId('video').bindToCurrentChannel(); });
    }

    function channel() {
        return attempt(function () { return byId('video').currentChannel; }, null) ||
               attempt(function () { return application().privateData.currentChannel; }, null);
    }

    function channelName() {
        return attempt(function () { return channel().name; }, '') || 'Vesta';
    }

    /* By which another application finds the way back. */
    function channelQuery() {
        return attempt(function () {
            var own = channel();
            var query = '?onid=' + own.onid + '&tsid=' + own.tsid + '&sid=' + own.sid;
            return /^[?]onid=\d+&tsid=\d+&sid=\d+$/.test(query) ? query : '';
        }, '');
    }

    /* Programmes as plain objects: name, text, start and end in milliseconds. */
    function plain(list) {
        var result = [];
        attempt(function () {
            for (var i = 0; i < list.length; ++i) {
                var item = typeof list.item === 'function' ? list.item(i) : list[i];
                if (item) {
                    result.push({
                        name: String(item.name || 'Untitled'),
                        text: String(item.description || ''),
                        start: Number(item.startTime) * 1000,
                        end: (Number(item.startTime) + Number(item.duration)) * 1000
                    });
                }
            }
        });
        return result;
    }

    /* What is on now and next. */
    function programmes() {
        return plain(attempt(function () { return byId('video').programmes; }, []) || []);
    }

    /* The schedule of the current channel, given to the callback once it is there; where there is
       none, what is on now and next. */
    function schedule(callback) {
        var isDone = false;
        function finish(list) {
            if (!isDone) {
                isDone = true;
                callback(list.length > 0 ? list : programmes());
            }
        }
        attempt(function () {
            var manager = byId('searchmgr');
            var search = manager.createSearch(1);
            manager.onMetadataSearch = function (found, state) {
                if (state === 0) {
                    finish(plain(found.result));
                }
            };
            search.findProgrammesFromStream(channel(), null);
            search.result.getResults(0, 40);
        });
        setTimeout(function () { finish([]); }, 3000);
    }

    function two(number) {
        return (number < 10 ? '0' : '') + number;
    }

    function time(ms) {
        var date = new Date(ms);
        return isNaN(date.getTime()) ? '' : two(date.getHours()) + ':' + two(date.getMinutes());
    }

    /* Starts another application in the place of this one. Where it cannot start, this one stays. */
    function change(url) {
        return attempt(function () {
            var own = application();
            if (!own.createApplication(url, false)) {
                return false;
            }
            own.destroyApplication();
            return true;
        }, false);
    }

    function leave() {
        attempt(function () { application().destroyApplication(); });
    }

    /* Listens to the events of an object in the carousel that this page came from. */
    function onStreamEvent(path, name, listener) {
        attempt(function () {
            var root = location.href.split('/').slice(0, 3).join('/');
            byId('video').addStreamEventListener(root + '/' + path, name, function (event) {
                if (event.status === 'trigger') {
                    listener(String(event.text || ''));
                }
            });
        });
    }

    function element(tag, className, text) {
        var result = document.createElement(tag);
        result.className = className || '';
        if (text !== undefined) {
            result.appendChild(document.createTextNode(text));
        }
        return result;
    }

    function clear(parent) {
        while (parent.firstChild) {
            parent.removeChild(parent.firstChild);
        }
        return parent;
    }

    function write(id, text) {
        clear(byId(id)).appendChild(document.createTextNode(text));
    }

    return {
        attempt: attempt, byId: byId, show: show, keys: keys, onKeys: onKeys, bindVideo: bindVideo,
        channelName: channelName, channelQuery: channelQuery, programmes: programmes, schedule: schedule, time: time,
        change: change, leave: leave, onStreamEvent: onStreamEvent, element: element, clear: clear,
        write: write
    };
}());
