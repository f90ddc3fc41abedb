#include <gtest/gtest.h>
#include <set>
#include <string>

#include "vesta_hbbtv_kit.h"

namespace {

TEST(FaultTexts, EachFaultHasATextOfItsOwn)
{
    std::set<std::string> texts;
    for (int fault = HBBTV_KIT_SECTION_OK + 1; fault < HBBTV_KIT_SECTION_FAULTS; ++fault)
        texts.insert(hbbtv_kit_section_fault_text(fault));
    for (int fault = HBBTV_KIT_TABLE_OK + 1; fault <= HBBTV_KIT_TABLE_LABELS_CLASH; ++fault)
        texts.insert(hbbtv_kit_table_fault_text(fault));
    EXPECT_EQ(texts.size(),
              size_t{HBBTV_KIT_SECTION_FAULTS - 1} + size_t{HBBTV_KIT_TABLE_LABELS_CLASH});
    EXPECT_EQ(texts.count(""), 0u);
    EXPECT_STREQ(hbbtv_kit_section_fault_text(HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR),
                 "a descriptor is empty");
    EXPECT_STREQ(hbbtv_kit_section_fault_text(HBBTV_KIT_SECTION_PMT),
                 "a PMT that is damaged, or of another service");
    EXPECT_STREQ(hbbtv_kit_table_fault_text(HBBTV_KIT_TABLE_APPLICATIONS),
                 "more applications than the limit");
}

TEST(FaultTexts, NoFaultHasNone)
{
    for (const int fault : {-1, 0, int{HBBTV_KIT_SECTION_FAULTS}, 1 << 30}) {
        EXPECT_STREQ(hbbtv_kit_section_fault_text(fault), "");
        EXPECT_STREQ(hbbtv_kit_table_fault_text(fault), "");
    }
}

}  // namespace
