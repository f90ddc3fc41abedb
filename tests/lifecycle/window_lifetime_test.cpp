// What a window gives up when it ends, and in which order.

#include <string>

#include "lifecycle/window.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// A table that writes into the journal when nobody counts it any more.
template <typename... Arguments>
class NamedTable : public AIT {
public:
    explicit NamedTable(const char* name, Arguments... arguments) : AIT(arguments...), name_(name)
    {
    }
    ~NamedTable() override { Journal::instance().write("freed: ", name_); }

private:
    const char* const name_;
};

using XMLTable = NamedTable<>;
using BroadcastTable = NamedTable<unsigned short, unsigned short, unsigned short, void*>;

class WindowLifetime : public LibraryTest {};

TEST_F(WindowLifetime, TheEndGivesUpTheServicesTableThenTheOneInTheMakingTheFormerAndTheOneInForce)
{
    window()->setAIT(ref_ptr<AIT>(new BroadcastTable("the service's", 1, 2, 3, nullptr)));
    window()->setAIT(ref_ptr<AIT>(new XMLTable("the former")));
    window()->setAIT(ref_ptr<AIT>(new XMLTable("in force")));
    window()->setAssemblyAIT(new BroadcastTable("in the making", 1, 2, 3, nullptr));
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(), Lines({"freed: the service's", "freed: in the making", "freed: the former",
                                "freed: in force"}));
}

}  // namespace
