// What a feed reports, in words.

#include <cstddef>

#include "vesta_hbbtv_kit.h"

namespace {

const char* const sectionFaults[] = {
    "",
    "fewer bytes than its section_length announces",
    "another table",
    "shorter than its fields, or longer than 1024 bytes",
    "section_syntax_indicator is 0",
    "the CRC_32 does not match",
    "another application type",
    "test_application_flag is set",
    "not in force yet (current_next_indicator is 0)",
    "section_number is above last_section_number",
    "the common loop leaves the section",
    "the application loop leaves the section, or is missing",
    "an application leaves the application loop",
    "a descriptor leaves its loop",
    "a descriptor is empty",
    "an application name leaves its loop",
    "the application manager does not read it",
    "the PMT does not list the PID, or another one has the table",
    "of a service that was left",
    "a PMT that is damaged, or of another service",
};
static_assert(sizeof(sectionFaults) / sizeof(*sectionFaults) == HBBTV_KIT_SECTION_FAULTS);

const char* const tableFaults[] = {
    "",
    "more applications than the limit",
    "names, URLs, locations and boundaries are longer than the limit",
    "more transport protocol labels than the limit",
    "the tables of all PIDs have more than 256 sections",
    "tables of two PIDs have different transports of one label",
};
static_assert(sizeof(tableFaults) / sizeof(*tableFaults) == HBBTV_KIT_TABLE_LABELS_CLASH + 1);

template <size_t count>
const char* textIn(const char* const (&texts)[count], int fault)
{
    return fault >= 0 && static_cast<size_t>(fault) < count ? texts[fault] : "";
}

}  // namespace

const char* hbbtv_kit_section_fault_text(int fault)
{
    return textIn(sectionFaults, fault);
}

const char* hbbtv_kit_table_fault_text(int fault)
{
    return textIn(tableFaults, fault);
}
