// A record for the replay: its lines, and the arguments of the calls in it. Nothing is called.

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "recorder/boundary/calls_in.h"
#include "replay/calls.h"
#include "replay/expecting_stand.h"
#include "replay/record.h"
#include "replay/record_writer.h"
#include "replay/texts.h"

namespace {

/// The `fields` that free what the library would.
class Freeing {
public:
    template <typename... Arguments>
    void handle(Arguments&&...)
    {
    }
    template <typename... Arguments>
    void callback(Arguments&&...)
    {
    }
    template <typename... Arguments>
    void number(Arguments&&...)
    {
    }
    void text(const char*, char* text) { std::free(text); }
    void url(const char*, char* url) { std::free(url); }
    void section(const char*, unsigned char* section) { std::free(section); }
};

void freeEvent(VestaHbbTV::HBBTV_EventType type, VestaHbbTV::HBBTV_EventData* data)
{
    Freeing freeing;
    if (data)
        recorder::visitEvent(freeing, type, *data);
    std::free(data);
}

void readCall(const replay::Line& line, replay::Meaning& meaning, recorder::Stand& stand)
{
    const std::unique_ptr<replay::CallIn> call = replay::makeCallIn(line.name);
    replay::Reader reader(line.members, meaning);
    call->read(reader);
    if (line.name == recorder::SendEvent::name)
        call->perform(reinterpret_cast<void*>(freeEvent));
    else if (reader.problem().empty())
        call->answer(stand);
    meaning.arena.clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    std::istringstream input(std::string(reinterpret_cast<const char*>(bytes), size));
    std::string problem;
    const auto record = replay::readRecord(input, problem);
    if (!record)
        return 0;
    replay::Meaning meaning(record->bodies);
    replay::ExpectingStand stand(meaning, record->leavesOutQueries);
    for (const replay::Line& line : record->lines) {
        stand.expect(line.members);
        if (line.kind == replay::Line::Kind::In)
            readCall(line, meaning, stand);
        replay::lineText(line);
    }
    std::ostringstream output;
    replay::writeRecord(output, *record, replay::piecesOf(*record));
    return 0;
}
