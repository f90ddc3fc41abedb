#include "tests/inspector/support/signal.h"

#include "inspector/survey/stream_surveyor.h"

namespace inspector::test {

namespace {

using namespace receiver;

constexpr unsigned transportStreamId = 0x0441;
constexpr unsigned networkId = 0x20FA;
constexpr unsigned clockPid = 0x0100;
constexpr unsigned clockMs = 40;
constexpr uint32_t listTransaction = 0x80000002;

const std::string gatewayType("srg\0", 4);
const std::string fileType("fil\0", 4);

Bytes scheduleSection()
{
    EitFields fields;
    fields.tableId = 0x50;
    fields.serviceId = serviceId;
    fields.lastSectionNumber = 0;
    fields.segmentLastSection = 0;
    fields.lastTable = 0x50;
    return makeEit(fields, {});
}

}  // namespace

Signal::Signal()
{
    (*this)["pat"] = {0x0000, {makePat(transportStreamId, 1, {{serviceId, pmtPid}})}, 100};
    (*this)["pmt"].pid = pmtPid;
    (*this)["pmt"].periodMs = 100;
    streams({{0x1B, clockPid, makeDescriptor(0x52, {0})}, aitStream(), carouselStream()});
    (*this)["sdt"] = {0x0011, {sdtWith(serviceId, 3)}};
    (*this)["eit"] = {
        0x0012, {makePresentFollowing(serviceId, 0, {}), makePresentFollowing(serviceId, 1, {})}};
    (*this)["schedule"] = {0x0012, {scheduleSection()}, 5'000};
    (*this)["ait"].pid = aitPid;
    application(rightApplication());
    (*this)["carousel"].pid = carouselPid;
    module(rightModule());
}

Signal& Signal::without(const std::string& name)
{
    emissions_.erase(name);
    return *this;
}

Signal& Signal::ait(const AITSection& section)
{
    (*this)["ait"].sections = {section.bytes()};
    return *this;
}

Signal& Signal::streams(const std::vector<PmtStream>& streams)
{
    (*this)["pmt"].sections = {makePmt(serviceId, 4, streams)};
    return *this;
}

Signal& Signal::module(const Bytes& module)
{
    IorFields gateway;
    gateway.typeId = gatewayType;
    gateway.key = "root";
    std::vector<Bytes>& sections = (*this)["carousel"].sections;
    sections = {makeDsi(makeIor(gateway)),
                makeDii(listTransaction, {{1, uint32_t(module.size())}})};
    for (const Bytes& block : makeDdbs(1, 0, module))
        sections.push_back(block);
    return *this;
}

Bytes Signal::bytes() const
{
    StreamWriter writer;
    for (unsigned now = 0; now < durationMs; now += clockMs) {
        if (hasClock)
            writer.addClock(clockPid, uint64_t(now) * 90);
        for (const auto& [name, emission] : emissions_) {
            const bool isDue = now / emission.periodMs != (now + clockMs) / emission.periodMs;
            if (!isDue || now < emission.fromMs || now >= emission.untilMs)
                continue;
            for (const Bytes& section : emission.sections)
                writer.add(emission.pid, section);
        }
    }
    return writer.bytes();
}

AITEntry rightApplication(uint16_t applicationId)
{
    return AITEntry(0x0A, applicationId)
        .carousel(1, 0x2A)
        .http(2, "http://a.example/")
        .name("Right")
        .location("index.html");
}

PmtStream aitStream(unsigned type, unsigned version, unsigned pid)
{
    const ByteWriter payload = ByteWriter().u16(0x8010).u8(0xE0 | version);
    return {type, pid, makeDescriptor(0x6F, payload)};
}

PmtStream carouselStream()
{
    const ByteWriter carousel = ByteWriter().u32(42).u8(0);
    return {0x0B, carouselPid, makeDescriptor(0x52, {0x2A}) + makeDescriptor(0x13, carousel)};
}

Bytes sdtWith(unsigned service, unsigned flags)
{
    const ByteWriter descriptor =
        ByteWriter().u8(1).with8(std::string("maker")).with8(std::string("One"));
    const Bytes loop = makeDescriptor(0x48, descriptor);
    ByteWriter body;
    body.u16(networkId).u8(0xFF).u16(service).u8(0xFC | flags);
    body.u16(0x8000 | unsigned(loop.size())).add(loop);
    return makeSection({0x42, transportStreamId}, body);
}

Bytes rightModule()
{
    IorFields file;
    file.typeId = fileType;
    file.key = "index";
    return makeGateway("root", {{"index.html", makeIor(file)}}) + makeFile("index", "<html/>");
}

std::unique_ptr<Survey> surveyOf(const Bytes& stream, std::optional<uint16_t> service)
{
    auto survey = std::make_unique<Survey>();
    StreamSurveyor surveyor(*survey, service);
    surveyor.feed(stream.data(), stream.size());
    surveyor.finish();
    return survey;
}

std::unique_ptr<Survey> surveyOfSections(const std::vector<Bytes>& sections)
{
    auto survey = std::make_unique<Survey>();
    for (const Bytes& section : sections)
        survey->take(std::nullopt, section, std::nullopt);
    survey->finish(std::nullopt);
    return survey;
}

std::set<std::string> idsOf(const Findings& findings)
{
    std::set<std::string> ids;
    for (const Finding& finding : findings.all())
        ids.insert(finding.kind->id);
    return ids;
}

std::set<std::string> findingsIn(const Signal& signal)
{
    return idsOf(check(*surveyOf(signal.bytes())));
}

std::set<std::string> findingsIn(const std::vector<Bytes>& sections)
{
    return idsOf(check(*surveyOfSections(sections)));
}

}  // namespace inspector::test
