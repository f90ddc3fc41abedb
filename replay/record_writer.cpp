#include "replay/record_writer.h"

#include <algorithm>
#include <set>
#include <string>

#include "recorder/boundary/base64.h"

namespace replay {

namespace {

class Writing {
public:
    Writing(std::ostream& output, const Record& record) : output_(output), record_(record) {}

    void writeHead()
    {
        Json head = Json::object();
        for (const char* const member : {"vesta_recording", "pointer_bits", "left_out"}) {
            if (record_.head.contains(member))
                head[member] = record_.head[member];
        }
        write(head);
    }

    void write(const Line& line)
    {
        writeBodiesOf(line.members);
        switch (line.kind) {
        case Line::Kind::In:
            write({{"n", line.step}, {"in", line.name}, {"with", line.members}});
            break;
        case Line::Kind::Out:
            write({{"n", line.step}, {"out", line.name}, {"with", line.members}});
            break;
        case Line::Kind::End:
            if (line.threw)
                write({{"end", line.step}, {"threw", true}});
            else
                write({{"end", line.step}, {"gave", line.members}});
            break;
        case Line::Kind::Idle:
            write({{"idle", line.count}});
            break;
        case Line::Kind::StateBegin:
            write({{"state", "begin"}});
            break;
        case Line::Kind::StateEnd:
            write({{"state", "end"}});
            break;
        }
    }

    void writeThatItCrashed() { write({{"crash", true}}); }

private:
    void write(const Json& object)
    {
        output_ << object.dump(-1, ' ', true, Json::error_handler_t::replace) << "\n";
    }

    void writeBodiesOf(const Json& members)
    {
        for (const auto& [member, value] : members.items()) {
            if (value.is_structured())
                writeBodiesOf(value);
            else if (member == "sha256" && value.is_string())
                writeBody(value.get<std::string>());
        }
    }

    void writeBody(const std::string& hash)
    {
        const Body* const body = record_.bodies.find(hash);
        if (!body || !written_.insert(hash).second)
            return;
        if (body->isLeftOut) {
            write({{"body", hash}, {"length", body->bytes.size()}});
        } else {
            std::string text;
            recorder::appendBase64(text, body->bytes.data(), body->bytes.size());
            write({{"body", hash}, {"base64", text}});
        }
    }

    std::ostream& output_;
    const Record& record_;
    std::set<std::string> written_;
};

/// The end of the piece that begins there.
size_t endOfPiece(const std::vector<Line>& lines, size_t begin)
{
    const Line& first = lines[begin];
    const bool isCall = first.kind == Line::Kind::In;
    if (!isCall && first.kind != Line::Kind::StateBegin)
        return begin + 1;
    for (size_t place = begin + 1; place < lines.size(); ++place) {
        const Line& line = lines[place];
        if (isCall ? line.kind == Line::Kind::End && line.step == first.step
                   : line.kind == Line::Kind::StateEnd)
            return place + 1;
    }
    return lines.size();
}

}  // namespace

std::vector<Piece> piecesOf(const Record& record)
{
    std::vector<Piece> pieces;
    for (size_t begin = 0; begin < record.lines.size(); begin = pieces.back().end)
        pieces.push_back({begin, endOfPiece(record.lines, begin)});
    return pieces;
}

std::vector<Piece> piecesBefore(const Record& record, uint64_t step)
{
    std::vector<Piece> pieces = piecesOf(record);
    const auto isLater = [&](const Piece& piece) {
        const bool isOpen = !record.open.empty() && record.open.front() < piece.end;
        return isOpen ||
               std::any_of(record.lines.begin() + static_cast<std::ptrdiff_t>(piece.begin),
                           record.lines.begin() + static_cast<std::ptrdiff_t>(piece.end),
                           [step](const Line& line) { return line.step >= step; });
    };
    pieces.erase(std::find_if(pieces.begin(), pieces.end(), isLater), pieces.end());
    return pieces;
}

void writeRecord(std::ostream& output, const Record& record, const std::vector<Piece>& pieces)
{
    Writing writing(output, record);
    writing.writeHead();
    for (const Piece& piece : pieces) {
        for (size_t place = piece.begin; place < piece.end; ++place)
            writing.write(record.lines[place]);
    }
    if (record.isOfACrash)
        writing.writeThatItCrashed();
}

}  // namespace replay
