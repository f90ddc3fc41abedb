/// A service on air, right in everything, for tests to spoil.
#ifndef VESTA_TESTS_INSPECTOR_SUPPORT_SIGNAL_H
#define VESTA_TESTS_INSPECTOR_SUPPORT_SIGNAL_H

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "inspector/check/checks.h"
#include "inspector/survey/survey.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/information_builder.h"
#include "tests/receiver/support/stream_builder.h"
#include "tests/support/section_builder.h"

namespace inspector::test {

using receiver::Bytes;
using vesta::test::AITEntry;
using vesta::test::AITSection;

constexpr unsigned serviceId = 28112;
constexpr unsigned pmtPid = 0x0050;
constexpr unsigned aitPid = 0x0200;
constexpr unsigned carouselPid = 0x0201;
constexpr unsigned eventPid = 0x0202;

/// What is broadcast again and again.
struct Emission {
    unsigned pid = 0;
    std::vector<Bytes> sections;
    unsigned periodMs = 1'000;
    unsigned fromMs = 0;
    unsigned untilMs = 1'000'000;
};

/// Fifteen seconds of a service with an AIT, a carousel, an SDT and EITs, by a clock.
class Signal {
public:
    Signal();

    /// "pat", "pmt", "sdt", "eit", "schedule", "ait", "carousel"; any other is a new one.
    Emission& operator[](const std::string& name) { return emissions_[name]; }
    Signal& without(const std::string& name);

    Signal& ait(const AITSection& section);
    /// One application, in an AIT with nothing else.
    Signal& application(const AITEntry& entry) { return ait(AITSection().version(3).add(entry)); }
    Signal& streams(const std::vector<receiver::PmtStream>& streams);
    /// @param module what stands in module 1, with its gateway
    Signal& module(const Bytes& module);

    Bytes bytes() const;

    unsigned durationMs = 15'000;
    bool hasClock = true;

private:
    std::map<std::string, Emission> emissions_;
};

/// An application in which nothing is wrong.
AITEntry rightApplication(uint16_t applicationId = 1);

/// The streams of the right PMT.
receiver::PmtStream aitStream(unsigned type = 0x05, unsigned version = 3, unsigned pid = aitPid);
receiver::PmtStream carouselStream();

/// @param flags EIT_schedule_flag in bit 1, EIT_present_following_flag in bit 0
Bytes sdtWith(unsigned service, unsigned flags);

/// The module of the right carousel: a gateway with index.html, which it holds.
Bytes rightModule();

std::unique_ptr<Survey> surveyOf(const Bytes& stream, std::optional<uint16_t> service = {});
/// Of sections from a file.
std::unique_ptr<Survey> surveyOfSections(const std::vector<Bytes>& sections);

std::set<std::string> idsOf(const Findings& findings);
std::set<std::string> findingsIn(const Signal& signal);
std::set<std::string> findingsIn(const std::vector<Bytes>& sections);

}  // namespace inspector::test

#endif
