#include "receiver/options.h"

#include <getopt.h>

#include "receiver/console/words.h"
#include "receiver/stream/stream_input.h"

namespace receiver {

namespace {

using namespace VestaHbbTV;

enum Option : int {
    helpOption = 'h',
    scriptOption = 's',
    serviceOption = 1000,
    siteOption,
    speedOption,
    loopOption,
    followOption,
    logOption,
    traceOption,
    extractOption,
    limitOption,
    carouselOption,
    durationOption,
    browserOption,
    scriptLimitOption,
    picturesOption,
    hbbtvOption,
    whyOption,
    webOption,
    reportOption,
    versionOption
};

const option longOptions[] = {
    {"help", no_argument, nullptr, helpOption},
    {"script", required_argument, nullptr, scriptOption},
    {"service", required_argument, nullptr, serviceOption},
    {"site", required_argument, nullptr, siteOption},
    {"speed", required_argument, nullptr, speedOption},
    {"loop", no_argument, nullptr, loopOption},
    {"follow", no_argument, nullptr, followOption},
    {"log", required_argument, nullptr, logOption},
    {"trace", required_argument, nullptr, traceOption},
    {"extract", required_argument, nullptr, extractOption},
    {"carousel-limit", required_argument, nullptr, limitOption},
    {"carousel-pid", required_argument, nullptr, carouselOption},
    {"duration", required_argument, nullptr, durationOption},
    {"browser", required_argument, nullptr, browserOption},
    {"script-limit", required_argument, nullptr, scriptLimitOption},
    {"pictures", required_argument, nullptr, picturesOption},
    {"hbbtv-version", required_argument, nullptr, hbbtvOption},
    {"why", no_argument, nullptr, whyOption},
    {"web", required_argument, nullptr, webOption},
    {"report", required_argument, nullptr, reportOption},
    {"version", no_argument, nullptr, versionOption},
    {nullptr, 0, nullptr, 0},
};

std::string takeSite(const std::string& text, Options& options)
{
    // A URL may hold a "=", a folder hardly does: the last one divides.
    const size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        return "--site wants URL-PREFIX=FOLDER, not " + text;
    options.sites.push_back({text.substr(0, equals), text.substr(equals + 1)});
    return "";
}

std::string takeLogLevel(const std::string& text, Options& options)
{
    const struct {
        const char* name;
        LogLevel level;
    } levels[] = {{"debug", DEBUG}, {"log", LOG}, {"warn", WARN}, {"err", ERR}};
    for (const auto& [name, level] : levels) {
        if (text == name) {
            options.logLevel = level;
            options.middleware.verbose = level == DEBUG;
            return "";
        }
    }
    return "--log wants debug, log, warn or err, not " + text;
}

std::string takeService(const std::string& text, Options& options)
{
    const std::optional<uint32_t> number = wholeNumber(text, 0xFFFF);
    if (!number || *number == 0)
        return "--service wants a service id from 1 to 65535, not " + text;
    options.middleware.service = static_cast<uint16_t>(*number);
    return "";
}

std::string takeSpeed(const std::string& text, Options& options)
{
    const std::optional<double> factor = positiveNumber(text);
    if (!factor)
        return "--speed wants a factor such as 1 or 0.5, not " + text;
    options.middleware.speed = *factor;
    return "";
}

std::string takeDuration(const std::string& text, Options& options)
{
    const std::optional<double> seconds = positiveNumber(text);
    if (!seconds)
        return "--duration wants seconds such as 60 or 0.5, not " + text;
    options.duration = *seconds;
    return "";
}

std::string takeBrowser(const std::string& text, Options& options)
{
    if (text != "console" && text != "wpe")
        return "--browser wants console or wpe, not " + text;
#ifndef VESTA_HAS_WPE
    if (text == "wpe")
        return "--browser wpe: this receiver was built without WPE WebKit";
#endif
    options.browser = text;
    return "";
}

std::string takeWeb(const std::string& text, Options& options)
{
#ifndef VESTA_HAS_WEB
    return "--web " + text + ": this receiver was built without libsoup 3";
#endif
    options.web = webAddressFrom(text);
    return options.web ? ""
                       : "--web wants a port, or an IP address and a port such as "
                         "127.0.0.1:8080, not " +
                             text;
}

std::string takeScriptLimit(const std::string& text, Options& options)
{
    const std::optional<double> seconds = positiveNumber(text);
    if (!seconds || *seconds < 1)
        return "--script-limit wants seconds such as 20, 1 at the least, not " + text;
    options.scriptLimit = *seconds;
    return "";
}

std::string takeLimit(const std::string& text, Options& options)
{
    const std::optional<uint32_t> mebibytes = wholeNumber(text, 2048);
    if (!mebibytes || *mebibytes == 0)
        return "--carousel-limit wants MiB from 1 to 2048, not " + text;
    options.middleware.limits.memory = size_t(*mebibytes) << 20;
    return "";
}

std::string takeCarousel(const std::string& text, Options& options)
{
    const size_t colon = text.find(':');
    const std::optional<uint32_t> pid = wholeNumber(text.substr(0, colon), 0x1FFE);
    const std::optional<uint32_t> tag =
        colon == std::string::npos ? 0 : wholeNumber(text.substr(colon + 1), 0xFF);
    if (!pid || *pid == 0 || !tag)
        return "--carousel-pid wants a PID from 1 to 0x1ffe and, after a colon, a component tag "
               "from "
               "0 to 255, not " +
               text;
    CarouselPid carousel;
    carousel.pid = static_cast<uint16_t>(*pid);
    if (colon != std::string::npos)
        carousel.componentTag = static_cast<uint8_t>(*tag);
    options.middleware.carousels.push_back(carousel);
    return "";
}

std::string takeHbbTVVersion(const std::string& text, Options& options)
{
    const size_t first = text.find('.');
    const size_t second = first == std::string::npos ? first : text.find('.', first + 1);
    if (second != std::string::npos) {
        const auto major = wholeNumber(text.substr(0, first), 0xFF);
        const auto minor = wholeNumber(text.substr(first + 1, second - first - 1), 0xFF);
        const auto micro = wholeNumber(text.substr(second + 1), 0xFF);
        if (major && *major != 0 && minor && micro) {
            options.middleware.hbbtv = {static_cast<uint8_t>(*major), static_cast<uint8_t>(*minor),
                                        static_cast<uint8_t>(*micro)};
            return "";
        }
    }
    return "--hbbtv-version wants a version such as 1.4.1, not " + text;
}

/// An option without a value.
void takeSwitch(int name, Options& options)
{
    options.help = options.help || name == helpOption;
    options.version = options.version || name == versionOption;
    options.why = options.why || name == whyOption;
    options.middleware.loop = options.middleware.loop || name == loopOption;
    options.middleware.follow = options.middleware.follow || name == followOption;
}

std::string takeOption(int name, const std::string& value, Options& options)
{
    switch (name) {
    case scriptOption:
        options.script = value;
        return "";
    case traceOption:
        options.trace = value;
        return "";
    case extractOption:
        options.extract = value;
        return "";
    case serviceOption:
        return takeService(value, options);
    case siteOption:
        return takeSite(value, options);
    case speedOption:
        return takeSpeed(value, options);
    case logOption:
        return takeLogLevel(value, options);
    case carouselOption:
        return takeCarousel(value, options);
    case browserOption:
        return takeBrowser(value, options);
    case scriptLimitOption:
        return takeScriptLimit(value, options);
    case picturesOption:
        options.pictures = value;
        return "";
    case durationOption:
        return takeDuration(value, options);
    case webOption:
        return takeWeb(value, options);
    case reportOption:
        options.report = value;
        return "";
    case limitOption:
        return takeLimit(value, options);
    case hbbtvOption:
        return takeHbbTVVersion(value, options);
    default:
        takeSwitch(name, options);
        return "";
    }
}

/// @return what of the options does not go together; empty when all does
std::string contradictionIn(const Options& options)
{
    const MiddlewareOptions& stream = options.middleware;
    if (!options.pictures.empty() && options.browser == "console")
        return "--pictures: the console browser paints nothing";
    if (stream.loop && stream.input == "-")
        return "--loop wants a file: standard input cannot be played again";
    if (stream.loop && isNetworkInput(stream.input))
        return "--loop wants a file: what the network brings cannot be played again";
    if (stream.speed > 0 && isNetworkInput(stream.input))
        return "--speed wants a file: the network brings a stream at its own pace";
    if (stream.follow && (stream.input == "-" || isNetworkInput(stream.input)))
        return "--follow wants a file";
    if (stream.follow && stream.loop)
        return "--follow and --loop: at its end a file is waited for, or played again";
    if (options.script == "-" && stream.input == "-")
        return "standard input cannot be both the script and the stream";
    return "";
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, std::string& problem)
{
    Options options;
    opterr = 0;
    optind = 0;  // 1 would go on with the letters that a call before left
    for (;;) {
        const int name = getopt_long(argc, argv, ":hs:", longOptions, nullptr);
        if (name == -1)
            break;
        if (name == '?' || name == ':')
            problem = std::string(argv[optind - 1]) +
                      (name == ':' ? " wants a value" : ": no such option");
        else
            problem = takeOption(name, optarg ? optarg : "", options);
        if (!problem.empty())
            return std::nullopt;
    }
    if (options.help || options.version)
        return options;
    if (optind + 1 != argc) {
        problem = optind == argc ? "which transport stream?" : "one transport stream at a time";
        return std::nullopt;
    }
    options.middleware.input = argv[optind];
    problem = contradictionIn(options);
    return problem.empty() ? std::optional<Options>(options) : std::nullopt;
}

std::string usage()
{
    return "usage: vesta_receiver [OPTIONS] STREAM\n"
           "\n"
           "Plays a transport stream and runs the HbbTV applications that it signals in a\n"
           "browser on the console. STREAM is a file, - for standard input, or\n"
           "udp://[@]ADDRESS:PORT[?interface=NAME], a multicast group or an address of this\n"
           "machine, with RTP or without (rtp:// is the same).\n"
           "\n"
           "  -s, --script FILE          run the commands of a file (- for standard input), a "
           "line\n"
           "                             each, then end\n"
           "      --service ID           tune to this service first (else the first with "
           "applications)\n"
           "      --hbbtv-version X.Y.Z  run applications that ask for versions of HbbTV up to "
           "this\n"
           "                             (else 1.2.1)\n"
           "      --site PREFIX=FOLDER   answer URLs that begin with PREFIX from a folder\n"
           "      --speed FACTOR         times real time, by the stream's clock (else: at once)\n"
           "      --loop                 play a file again and again\n"
           "      --follow               wait at the end of a file for more: it is being written\n"
           "      --browser NAME         console (no more than loads), or wpe: a real one, WPE "
           "WebKit\n"
           "                             2.38, which gets no security updates: for pages that "
           "you\n"
           "                             trust; plays in real time unless --speed says "
           "otherwise\n"
           "      --script-limit SECONDS end a page whose scripts take longer (else 20)\n"
           "      --pictures FOLDER      write what is seen, whenever it has settled after a "
           "change\n"
           "      --duration SECONDS     end after so long, as quit does\n"
           "      --log LEVEL            with the library's log: debug, log, warn or err\n"
           "      --why                  say what the application manager decides, and for what "
           "reason\n"
           "      --web [ADDRESS:]PORT   serve the television as a page, for this machine alone "
           "unless\n"
           "                             an address says otherwise; plays in real time unless "
           "--speed\n"
           "                             says otherwise\n"
           "      --report FILE.html     write what happened as a page, at the end\n"
           "      --trace FILE           write everything to a file too, a JSON object a line\n"
           "      --extract FOLDER       write the carousels' files to a folder at the end\n"
           "      --carousel-pid PID[:TAG]\n"
           "                             read this PID as a carousel, whatever the tables say\n"
           "      --carousel-limit MIB   memory of all carousels together (else 64)\n"
           "      --version              the program's version\n"
           "  -h, --help                 this text\n"
           "\n"
           "Without a script commands come from standard input, typed or piped; help lists them.\n"
           "SIGINT, SIGTERM and SIGHUP end it as quit does; the second one at once.\n"
           "Exit codes: 0 success, 1 wrong usage, 2 unreadable input or unwritable output,\n"
           "3 a script's expectation was not met.\n";
}

std::string versionText()
{
    return "vesta_receiver " VESTA_VERSION "\n";
}

}  // namespace receiver
