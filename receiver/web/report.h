/// What happened, as a page that needs nothing but itself.
#ifndef VESTA_RECEIVER_WEB_REPORT_H
#define VESTA_RECEIVER_WEB_REPORT_H

#include <string>

namespace receiver {

class Chronicle;

/// What a report tells of a run beside what happened.
struct ReportHead {
    std::string input;
    double seconds = 0;  ///< how long it took
    std::string state;   ///< textOf(stateOf()) at the end; empty where there was none
};

/// @return the HTML document: the timeline with its scripts and its style, and the record
std::string reportOf(const Chronicle& chronicle, const ReportHead& head);

}  // namespace receiver

#endif
