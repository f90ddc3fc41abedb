// Pages of HbbTV's XHTML are XML, and their scripts set markup as in HTML: what is not well-formed is
// parsed as HTML.

/// @param context the element that would have it inside @return a fragment of the context's document
function parsedAsHtml(context, text) {
    const { ownerDocument } = context;
    const parsed = ownerDocument.implementation.createHTMLDocument('').createElement(context.localName);
    parsed.innerHTML = text;
    const fragment = ownerDocument.createDocumentFragment();
    each(copyOf(parsed.childNodes), node => fragment.appendChild(ownerDocument.importNode(node, true)));
    return fragment;
}

/// Sets markup as the engine does, else as HTML.
/// @param context the element in which it stands, null for none @param put gets it as a fragment
function setMarkup(setAsXml, context, text, put) {
    try {
        setAsXml();
    } catch (error) {
        const isOfPage = context && context.ownerDocument === document && context.namespaceURI === xhtml;
        if (!isOfPage || error.name !== 'SyntaxError')
            throw error;
        put(parsedAsHtml(context, text));
    }
}

/// @param put what becomes of an element and a fragment
function acceptHtml(name, contextOf, put) {
    const engine = Object.getOwnPropertyDescriptor(Element.prototype, name);
    Object.defineProperty(Element.prototype, name, Object.assign({}, engine, {
        set(markup) {
            const text = markup === null ? '' : String(markup);
            setMarkup(() => apply(engine.set, this, [text]), contextOf(this), text, fragment => put(this, fragment));
        },
    }));
}

const places = Object.assign(Object.create(null), {
    beforebegin: { contextOf: element => element.parentElement, before: element => element },
    afterbegin: { contextOf: element => element, before: element => element.firstChild },
    beforeend: { contextOf: element => element, before: () => null },
    afterend: { contextOf: element => element.parentElement, before: element => element.nextSibling },
});

function acceptHtmlBeside() {
    const { insertAdjacentHTML: insertAsXml } = Element.prototype;
    Element.prototype.insertAdjacentHTML = function insertAdjacentHTML(position, markup) {
        const place = places[lowerCase(String(position))];
        const context = place ? place.contextOf(this) : null;
        const text = String(markup);
        setMarkup(() => apply(insertAsXml, this, [position, text]), context, text, fragment =>
            context.insertBefore(fragment, place.before(this)));
    };
}

if (isXhtml) {
    acceptHtml('innerHTML', element => element, (element, fragment) => {
        while (element.firstChild)
            element.removeChild(element.firstChild);
        element.appendChild(fragment);
    });
    acceptHtml('outerHTML', element => element.parentElement, (element, fragment) =>
        element.parentElement.replaceChild(fragment, element));
    acceptHtmlBeside();
}
