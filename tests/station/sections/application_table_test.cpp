#include <gtest/gtest.h>
#include <string>

#include "station/sections/application_table.h"
#include "tests/station/support/section_check.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

Application smallApplication()
{
    Application application;
    application.organisationId = 0x01020304;
    application.applicationId = 0x0506;
    application.profiles.emplace_back();
    application.transports.push_back({1, 0x2A, ""});
    application.initialPath = "i.html";
    return application;
}

TEST(ApplicationTable, SaysTheLeastOfAnApplication)
{
    EXPECT_EQ(makeApplication(smallApplication()),
              (Bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x01, 0xF0, 0x1A,              //
                     0x00, 0x09, 0x05, 0x00, 0x00, 0x01, 0x02, 0x01, 0xFF, 0x01, 0x01,  //
                     0x02, 0x05, 0x00, 0x01, 0x01, 0x7F, 0x2A,                          //
                     0x15, 0x06, 'i',  '.',  'h',  't',  'm',  'l'}));
}

TEST(ApplicationTable, SaysEverythingOfAnApplication)
{
    Application application = smallApplication();
    application.names = {{"eng", "A"}, {"deu", "\xC3\x84"}};
    application.controlCode = 2;
    application.visibility = 1;
    application.priority = 9;
    application.serviceBound = false;
    application.usage = 1;
    application.transports = {{7, {}, "http://a/"}, {3, 0x2A, ""}};
    application.boundaries = {"b", "cd"};
    EXPECT_EQ(makeApplication(application),
              (Bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x02, 0xF0, 0x44,                    //
                     0x00, 0x0A, 0x05, 0x00, 0x00, 0x01, 0x02, 0x01, 0x3F, 0x09, 0x07, 0x03,  //
                     0x01, 0x0C, 'e',  'n',  'g',  0x01, 'A',  'd',  'e',  'u',  0x03, 0x15, 0xC3,
                     0x84,  //
                     0x02, 0x0E, 0x00, 0x03, 0x07, 0x09, 'h',  't',  't',  'p',  ':',  '/',  '/',
                     'a',  '/',  0x00,                               //
                     0x02, 0x05, 0x00, 0x01, 0x03, 0x7F, 0x2A,       //
                     0x15, 0x06, 'i',  '.',  'h',  't',  'm',  'l',  //
                     0x16, 0x01, 0x01,                               //
                     0x17, 0x06, 0x02, 0x01, 'b',  0x02, 'c',  'd'}));
}

TEST(ApplicationTable, AnEmptyTableIsATableToo)
{
    ApplicationTable table;
    table.version = 31;
    const auto sections = makeAit(table);
    ASSERT_EQ(sections.size(), 1U);
    EXPECT_EQ(sections[0],
              checked({0x74, 0xF0, 0x0D, 0x00, 0x10, 0xFF, 0x00, 0x00, 0xF0, 0x00, 0xF0, 0x00}));
}

TEST(ApplicationTable, NoApplicationIsCutBetweenSections)
{
    ApplicationTable table;
    table.applications.resize(5, smallApplication());
    for (Application& application : table.applications)
        application.boundaries = {std::string(250, 'b')};
    const auto sections = makeAit(table);
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0][7], 1) << "last_section_number";
    EXPECT_EQ(sections[1][6], 1) << "section_number";
    EXPECT_EQ(sections[0].size(), 16U + 3 * 289);
    EXPECT_EQ(sections[1].size(), 16U + 2 * 289);
}

TEST(ApplicationTable, WhatDoesNotFitIsRefused)
{
    Application application = smallApplication();
    application.initialPath = std::string(256, 'p');
    EXPECT_THROW(makeApplication(application), TooLong);
    application.initialPath = std::string(255, 'p');
    EXPECT_NO_THROW(makeApplication(application));
    application.transports.resize(4, {1, {}, std::string(240, 'u')});
    ApplicationTable table;
    table.applications = {application};
    EXPECT_THROW(makeAit(table), TooLong) << "an application of more than a section";
}

}  // namespace

}  // namespace station
