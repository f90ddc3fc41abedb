#include "receiver/console/commands.h"

#include <algorithm>

#include "receiver/session.h"

namespace receiver {

namespace {

const Command* findCommand(const std::string& name)
{
    const auto found =
        std::find_if(commands().begin(), commands().end(),
                     [&name](const Command& command) { return name == command.name; });
    return found == commands().end() ? nullptr : &*found;
}

Outcome check(const std::optional<Words>& words)
{
    if (!words)
        return Outcome::wrongUsage("a quotation mark has no partner");
    if (words->empty())
        return Outcome::done();
    const Command* const command = findCommand(words->front());
    if (!command)
        return Outcome::wrongUsage("there is no command " + words->front() + "; help lists them");
    const size_t count = words->size() - 1;
    if (count < command->leastArguments || count > command->mostArguments)
        return Outcome::wrongUsage(std::string("expected: ") + command->name +
                                   (*command->arguments ? " " : "") + command->arguments);
    return Outcome::done();
}

Outcome lineTooLong()
{
    return Outcome::wrongUsage("a line is longer than " + withSeparators(mostLineBytes) + " bytes");
}

}  // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> table = {
        {"services", "", "list the services of the stream", 0, 0, listServices},
        {"zap", "SERVICE", "tune to a service by number or name; a file begins again", 1, 1, zap},
        {"key", "NAME [down|up]", "press a key: RED, OK, BACK, 5, ...", 1, 2, pressKey},
        {"start", "URL|ORG.APP", "start an application by URL or ids (hexadecimal)", 1, 1,
         startApplication},
        {"terminate", "", "end the running application as the middleware", 0, 0,
         terminateApplication},
        {"create", "URL", "create an application as the current one's script", 1, 1,
         createApplication},
        {"destroy", "[ORG.APP]", "end an application as its script", 0, 1, destroyApplication},
        {"show", "[ORG.APP]", "show an application as its script", 0, 1, showApplication},
        {"hide", "[ORG.APP]", "hide an application as its script", 0, 1, hideApplication},
        {"keyset", "MASK|RED+GREEN...", "ask for keys as the current application's script", 1, 1,
         setKeySet},
        {"xhr", "URL", "check an XMLHttpRequest of the current page", 1, 1, checkRequest},
        {"load", "URL", "load another carousel file as the current page", 1, 1, loadResource},
        {"subscribe", "TARGET [EVENT]",
         "listen to a stream event as the current application's script", 1, 2, subscribe},
        {"http", "on|off", "switch broadband on or off", 1, 1, switchHttp},
        {"timeshift", "on|off", "switch time shift on or off", 1, 1, switchTimeShift},
        {"lowmemory", "", "tell that memory is low", 0, 0, lowMemory},
        {"profiles", "MASK", "set the supported application profiles", 1, 1, setProfiles},
        {"useragent", "1|2 [TEXT...]", "set the user-agent information, up to six texts", 1, 7,
         setUserAgent},
        {"answer", "start|request WORD", "what to answer: allow, kill, keep; allow, deny, core", 2,
         2, setAnswer},
        {"status", "", "show windows, applications, table and carousel files", 0, 0, showStatus},
        {"why", "[ORG.APP|SUBJECT]",
         "explain the latest decisions: of an application, or about section, table, start, end, "
         "load, key, request, native",
         0, 1, explainDecisions},
        {"wait", "CONDITION [within SECONDS]",
         "service, table, running [IDS], window NUMBER, loaded [URL], file PATH, shown, stopped, "
         "said "
         "TEXT, "
         "painted, end",
         1, 4, wait},
        {"picture", "FILE.png", "write what a viewer sees", 1, 1, writePicture},
        {"expect-picture", "FILE.png [TOLERANCE]",
         "compare what a viewer sees; colours may be off by so much of 255", 1, 2, expectPicture},
        {"say", "TEXT", "write a line", 1, 99, say},
        {"help", "[COMMAND]", "explain the commands", 0, 1, help},
        {"quit", "", "end the receiver", 0, 0, quit},
    };
    return table;
}

Outcome checkCommand(const std::string& line)
{
    return line.size() > mostLineBytes ? lineTooLong() : check(splitWords(line));
}

Outcome runCommand(Session& session, const std::string& line)
{
    if (line.size() > mostLineBytes)
        return lineTooLong();
    const std::optional<Words> words = splitWords(line);
    const Outcome outcome = check(words);
    return outcome && !words->empty() ? findCommand(words->front())->run(session, *words) : outcome;
}

Outcome help(Session& session, const Words& words)
{
    const Command* const one = words.size() > 1 ? findCommand(words[1]) : nullptr;
    if (words.size() > 1 && !one)
        return Outcome::wrongUsage("there is no command " + words[1] + "; help lists them");
    const size_t usageWidth = 34;
    std::vector<std::string> lines;
    for (const Command& command : commands()) {
        if (one && one != &command)
            continue;
        std::string usage = std::string(command.name) + " " + command.arguments;
        usage.resize(std::max(usage.size() + 2, usageWidth), ' ');
        lines.push_back("  " + usage + command.help);
    }
    session.log().print(lines);
    return Outcome::done();
}

}  // namespace receiver
