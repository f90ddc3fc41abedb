/// All that was seen in the inputs, within limits that no input can exceed.
#ifndef VESTA_INSPECTOR_SURVEY_SURVEY_H
#define VESTA_INSPECTOR_SURVEY_SURVEY_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "inspector/survey/carousel_survey.h"
#include "inspector/survey/section_guard.h"
#include "inspector/survey/table_history.h"
#include "kit/xml_ait_notes.h"
#include "receiver/service/service_tables.h"
#include "receiver/stream/transport_stream.h"

namespace inspector {

/// The most that a survey keeps; what is beyond is counted in Survey::leftOut.
struct SurveyLimits {
    size_t tableBytes = size_t(2) << 20;  ///< of the sections of all tables: trees take far more
    size_t services = 512;                ///< whose PMTs are looked at
    size_t tables = 1024;                 ///< AITs by PID and type
    size_t refusals = 1024;               ///< kinds of them
    size_t otherTables = 256;
    size_t carouselGroups = 8;                ///< of services that have different carousels
    size_t carouselBytes = size_t(32) << 20;  ///< of each group's
    size_t onlyServiceCarouselBytes = size_t(64) << 20;  ///< where one service is asked for
};

/// What was left out, so that nobody takes a survey for whole that is not.
struct LeftOut {
    uint64_t services = 0;
    uint64_t tables = 0;
    uint64_t refusals = 0;
    uint64_t carousels = 0;  ///< of so many services

    bool isNothing() const { return services + tables + refusals + carousels == 0; }
};

/// Where sections came from: a PID of the stream, or a file of sections.
struct SectionSource {
    SectionSource(uint16_t streamPid) : pid(streamPid) {}
    SectionSource(std::nullopt_t /*no PID*/, std::string path = "") : file(std::move(path)) {}

    bool operator==(const SectionSource& other) const
    {
        return pid == other.pid && file == other.file;
    }
    bool operator<(const SectionSource& other) const
    {
        return std::tie(pid, file) < std::tie(other.pid, other.file);
    }

    std::optional<uint16_t> pid;
    std::string file;  ///< its path, where it is known
};

/// Sections that are refused for one reason.
struct Refusal {
    SectionSource source;
    GuardFinding finding;
    uint8_t tableId = unknownTable;
    std::optional<uint8_t> sectionNumber;  ///< nothing where it did not come
    uint64_t count = 0;

    /// Of a section whose header did not come.
    static constexpr uint8_t unknownTable = 0xFF;
};

/// A table by where it came from, and its application_type.
using AITKey = std::pair<SectionSource, uint16_t>;

/// Which EIT there are of a service in the actual transport stream.
struct EventTables {
    bool hasPresentFollowing = false;
    bool hasSchedule = false;
    std::optional<Moment> lastPresent;          ///< of section 0 of EIT present/following
    std::optional<uint64_t> longestPresentGap;  ///< of the same, in ms, from the stream's beginning

    void notePresent(const Moment& now);
};

struct ServiceSurvey {
    explicit ServiceSurvey(receiver::Budget& memory) : pmt(memory) {}

    std::optional<receiver::Service> service;  ///< nothing where only its PMT was given
    TableHistory pmt;
    receiver::ProgramMap map;                   ///< of the last PMT
    std::shared_ptr<CarouselSurvey> carousels;  ///< null where it has none, or the limit is reached
};

/// An XML AIT, read as the application manager would get it.
struct XmlTable {
    std::string path;
    int status = 0;  ///< an HBBTV_KitXMLAITStatus
    unsigned line = 0;
    unsigned column = 0;
    std::string text;  ///< what is wrong
    Node tree;         ///< empty where anything is
    VestaHbbTV::XMLAITNotes notes;
};

/// An input as it was taken.
struct InputNote {
    std::string path;
    std::string kind;  ///< "transport stream", "sections", "hexadecimal text", "XML AIT"
};

/// Collects tables, wherever they come from.
class Survey {
public:
    explicit Survey(const SurveyLimits& limits = {}) : limits_(limits), memory_(limits.tableBytes)
    {
    }

    /// Takes a section of any table.
    /// @param section with a correct CRC_32, or from a file, where a wrong one is noted
    void take(const SectionSource& source, const SectionBytes& section,
              const std::optional<Moment>& now);

    /// An AIT for HbbTV should come on a PID from then on.
    void expectAit(uint16_t pid, const Moment& since) { aitsExpected_.try_emplace(pid, since); }

    /// Notes that a section is refused, here or before it got here: another one of the same kind
    /// where source, fault, table, section, descriptor and application are the same.
    /// @param refusal its count does not matter
    void refuse(Refusal refusal);

    /// @return the service; null where there are more than the limit
    ServiceSurvey* service(uint16_t id);

    /// No more comes: tables are decoded.
    void finish(const std::optional<Moment>& now);

    /// The AITs of a service: of the PIDs that its PMT lists, and those from files of sections
    /// where there is no other service.
    std::vector<const std::pair<const AITKey, TableHistory>*>
    tablesOf(const ServiceSurvey& service) const;

    /// Whether the feed takes any section of a table, when the survey has finished.
    bool isInForce(const AITKey& key) const
    {
        return aits.count(key) != 0 && onlyRefused_.count(key) == 0;
    }

    /// The service of a PID or a file; nothing where there is none, or where several have it.
    std::optional<uint16_t> serviceOf(const SectionSource& source) const;

    /// Those that are no service's.
    std::vector<const std::pair<const AITKey, TableHistory>*> tablesOfNobody() const;

    /// Whether the stream lasted so long that what comes at least so often must have come: by its
    /// clock, or by its PATs, of which ten come in a second.
    bool hasLasted(uint64_t ms) const;

    const SurveyLimits& limits() const { return limits_; }

    /// @name What was seen
    /// @{
    std::vector<InputNote> inputs;
    std::optional<receiver::StreamStatistics> statistics;  ///< of a transport stream
    std::map<uint16_t, uint64_t> continuityErrors;         ///< gaps, by PID
    std::optional<uint64_t> streamMs;                      ///< by its clock, where it has one
    std::map<uint16_t, TableHistory> pats;                 ///< by transport stream
    std::map<uint16_t, TableHistory> sdts;                 ///< likewise
    std::map<uint16_t, ServiceSurvey> services;
    std::map<AITKey, TableHistory> aits;  ///< those in force, and those of which nothing is
    /// What the feed refuses of tables of which other sections are in force.
    std::map<AITKey, TableHistory> refusedAits;
    std::map<uint16_t, EventTables> events;  ///< by service
    std::vector<Refusal> refusals;
    std::vector<XmlTable> xmlTables;
    std::map<uint8_t, uint64_t> otherTables;  ///< sections from files, by table_id
    std::vector<uint16_t> unlistedPids;       ///< with AITs that no PMT lists
    uint64_t pmtsNotWanted = 0;               ///< from files, of services that nobody asked for
    LeftOut leftOut;
    /// @}

private:
    void takeHistory(std::map<uint16_t, TableHistory>& histories, const SectionBytes& section,
                     const std::optional<Moment>& now);
    void takePmt(const SectionBytes& section, const std::optional<Moment>& now);
    void takeAit(const SectionSource& source, const SectionBytes& section,
                 const std::optional<Moment>& now);
    void takeRefusedForWantOfBetter();
    AITKey keyOf(const SectionSource& source, const receiver::SectionHeader& header) const;
    void takeEvents(const SectionBytes& section, const std::optional<Moment>& now);
    bool isListed(const ServiceSurvey& service, const SectionSource& source) const;

    /// What is the same of refusals of one kind.
    using RefusalKey = std::tuple<SectionSource, int, uint8_t, std::optional<uint8_t>, uint8_t,
                                  std::optional<ApplicationId>>;

    const SurveyLimits limits_;
    receiver::Budget memory_;
    std::map<RefusalKey, size_t> refusalIndex_;                 // in refusals
    std::set<AITKey> onlyRefused_;                              // of aits
    std::map<uint16_t, std::set<SectionSource>> filesOfTypes_;  // where AITs are, by their types
    std::map<uint16_t, Moment> aitsExpected_;                   // by PID
};

}  // namespace inspector

#endif
