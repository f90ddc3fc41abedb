/// Tables that are counted while they live.
#ifndef VESTA_TESTS_SUPPORT_COUNTED_TABLE_H
#define VESTA_TESTS_SUPPORT_COUNTED_TABLE_H

#include "signalling/ait.h"

namespace vesta::test {

class CountedTable : public VestaHbbTV::AIT {
public:
    /// A table that does not come from sections. @param living outlives the table
    explicit CountedTable(int& living) : living_(living) { ++living_; }

    /// A table of the service with these ids.
    CountedTable(int& living, unsigned short originalNetworkId, unsigned short transportStreamId,
                 unsigned short serviceId)
        : AIT(originalNetworkId, transportStreamId, serviceId, nullptr), living_(living)
    {
        ++living_;
    }

    ~CountedTable() override { --living_; }

private:
    int& living_;
};

}  // namespace vesta::test

#endif
