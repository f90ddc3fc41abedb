// XMLHttpRequest and fetch ask the application manager before they go out (ETSI TS 102 796, 9.3.2).

const denied = 1;

function mayRequest(url) {
    let target;
    try {
        target = new URL(url, document.baseURI).href;
    } catch (error) {
        return true;  // the engine says what is wrong with it
    }
    return ask('request.permission', denied, document.URL, target) !== denied;
}

const openRequest = XMLHttpRequest.prototype.open;
XMLHttpRequest.prototype.open = function open(method, url, ...rest) {
    if (!mayRequest(String(url)))
        throw new DOMException('The application may not ask for ' + url, 'SecurityError');
    return openRequest.call(this, method, url, ...(rest.length > 0 ? rest : [true]));
};

const fetchAnything = window.fetch;
defineGlobal('fetch', function fetch(input, options) {
    const url = input instanceof Request ? input.url : String(input);
    if (!mayRequest(url))
        return Promise.reject(new DOMException('The application may not ask for ' + url, 'SecurityError'));
    return fetchAnything.call(window, input, options);
});
