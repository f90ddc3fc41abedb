/* The pages of Vesta Text: title, lines, and what the four colours lead to. "text|page" puts a
   page number at the end of a line, "# text" is a heading, "> text" is set in. */
var PAGES = {
    100: {
        title: 'Vesta Text',
        lines: ['News|110', 'Weather|120', 'Sport|200', 'Television: now and next|300', 'About this service|890', '',
                '# Today', 'The harbour bridge opens again on Monday, after eleven months of work.'],
        links: [['News', 110], ['Weather', 120], ['Sport', 200], ['TV', 300]]
    },
    110: {
        title: 'News',
        lines: ['Harbour bridge opens on Monday|111', 'Library stays open until midnight|112',
                'Nine seals counted at the pier|113'],
        links: [['Index', 100], ['Weather', 120], ['Sport', 200], ['First story', 111]]
    },
    111: {
        title: 'Harbour bridge opens on Monday',
        lines: ['After eleven months of work, the old bridge takes its first cars on Monday at six in the morning.', '',
                'Cyclists may cross a day earlier. "We wanted them to have it to themselves once," says the builder.'],
        links: [['Index', 100], ['News', 110], ['Sport', 200], ['Next story', 112]]
    },
    112: {
        title: 'Library stays open until midnight',
        lines: ['Students asked, the town agreed: from April on the reading room closes at twelve.', '',
                'Tea is served until eleven.'],
        links: [['Index', 100], ['News', 110], ['Sport', 200], ['Next story', 113]]
    },
    113: {
        title: 'Nine seals counted at the pier',
        lines: ['Four more than last year, say the volunteers, who count every second Sunday.'],
        links: [['Index', 100], ['News', 110], ['Sport', 200], ['First story', 111]]
    },
    120: {
        title: 'Weather',
        lines: ['# Tonight', 'Clear at first, clouds from the west.              6', '', '# Tomorrow',
                'Morning   fog on the river                         4',
                'Noon      sun                                     13',
                'Evening   a light wind from the sea               10'],
        links: [['Index', 100], ['News', 110], ['Sport', 200], ['TV', 300]]
    },
    200: {
        title: 'Sport',
        lines: ['# Coastal cup, semi-finals', 'Harbour   v  Meadow                   on Vesta One',
                'Quayside  v  Northfield               tomorrow', '', '# League table',
                ' 1  Harbour          21   44', ' 2  Northfield       21   41', ' 3  Meadow           20   38',
                ' 4  Quayside         21   30'],
        links: [['Index', 100], ['News', 110], ['Weather', 120], ['TV', 300]]
    },
    300: {
        title: 'Now and next',
        programmes: true,
        lines: [],
        links: [['Index', 100], ['News', 110], ['Weather', 120], ['Sport', 200]]
    },
    890: {
        title: 'About this service',
        lines: ['Vesta Text comes with the picture, in an object carousel: it needs no network.', '',
                'Digits choose a page, the arrows go to the one before or after it, OK mixes the text with the picture, BACK ends it.'],
        links: [['Index', 100], ['News', 110], ['Sport', 200], ['TV', 300]]
    }
};
