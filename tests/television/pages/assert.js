// What the pages assert with, and how they report: a line for each name, and how many there were.

var passed = 0;
var failed = 0;

function show(value) {
    try {
        return JSON.stringify(value) || String(value);
    } catch (error) {
        return String(value);
    }
}

function check(name, isRight, got) {
    if (isRight) {
        ++passed;
        debug('pass ' + name);
    } else {
        ++failed;
        debug('FAIL ' + name + ': ' + show(got));
    }
}

function equal(name, actual, expected) {
    check(name, actual === expected || show(actual) === show(expected), { actual: actual, expected: expected });
}

/// @param error the name of what is thrown
function throws(name, error, action) {
    try {
        action();
        check(name, false, 'nothing was thrown');
    } catch (thrown) {
        equal(name, thrown.name, error);
    }
}

function quiet(name, action) {
    try {
        action();
        check(name, true);
    } catch (thrown) {
        check(name, false, String(thrown));
    }
}

/// @param count of the assertions of the page
function finish(count) {
    equal('all assertions were made', passed + failed, count);
    debug('finished');
}

window.onerror = function (message, file, line) {
    debug('FAIL no exception: ' + message + ' (' + file + ':' + line + ')');
    debug('finished');
};

function element(type) {
    var made = document.createElement('object');
    made.setAttribute('type', type);
    document.body.appendChild(made);
    return made;
}

function manager() { return document.getElementById('manager') || element('application/oipfApplicationManager'); }

/// Steps that wait for events: each is called with what calls the next.
function inTurn(steps) {
    var next = function () {
        var step = steps.shift();
        if (step)
            step(next);
    };
    next();
}
