/// Applications and tables that have read what the section builder made.
#ifndef VESTA_TESTS_SIGNALLING_PARSED_SECTIONS_H
#define VESTA_TESTS_SIGNALLING_PARSED_SECTIONS_H

#include <vector>

#include "signalling/ait.h"
#include "signalling/ait_application.h"
#include "tests/support/section_builder.h"

namespace vesta::test {

inline AITEntry plainEntry()
{
    return AITEntry(10, 1).withoutApplicationDescriptor();
}

/// An application that is in no table's list, read from an entry alone.
class Parsed {
public:
    explicit Parsed(const AITEntry& entry, VestaHbbTV::AIT* parent = nullptr) : application_(parent)
    {
        accepted_ = application_.parse(entry.exactBlock().get());
    }

    bool accepted() const { return accepted_; }
    VestaHbbTV::AITApplication* operator->() { return &application_; }
    VestaHbbTV::AITApplication& operator*() { return application_; }

private:
    VestaHbbTV::AITApplication application_;
    bool accepted_;
};

inline bool parse(VestaHbbTV::AIT& table, const AITSection& section)
{
    return table.parse(section.exactBlock().get());
}

/// A table for service 0x22.0x7.0x1 that has taken one section.
class Table : public VestaHbbTV::AIT {
public:
    Table() : AIT(0x22, 0x7, 0x1, nullptr) {}
    explicit Table(const AITSection& section) : Table()
    {
        accepted = vesta::test::parse(*this, section);
    }
    bool accepted = false;
};

/// The application ids in the table's order.
inline std::vector<int> ids(const VestaHbbTV::AIT& table)
{
    std::vector<int> result;
    for (unsigned int i = 0; i < table.getNumApplications(); ++i)
        result.push_back(table.getAITApplication(i)->getApplicationId());
    return result;
}

}  // namespace vesta::test

#endif
