// Documents on their way into a window: what is answered, what comes in force, and when.

#include <string>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/kit/xml_ait_text.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_kit.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class XMLAITLoading : public LibraryTest {
protected:
    static HBBTV_KitXMLAITResult load(void* window, const std::string& document,
                                      const char* url = documentUrl.c_str())
    {
        return hbbtv_kit_load_xml_ait(window, document.data(), document.size(), url);
    }

    /// Nothing was queued, and the window is as it was.
    void expectNothing()
    {
        EXPECT_EQ(tickAll(), 0);
        EXPECT_EQ(journal(), Lines());
        EXPECT_EQ(window()->getAIT(), nullptr);
    }
};

void expectAnswer(const HBBTV_KitXMLAITResult& result, int status, const std::string& text)
{
    EXPECT_EQ(result.status, status);
    EXPECT_STREQ(result.text, text.c_str());
    EXPECT_EQ(result.line, 0u);
    EXPECT_EQ(result.column, 0u);
}

TEST_F(XMLAITLoading, StartsTheApplicationOnALaterTick)
{
    expectAnswer(load(window(), sampleDocument()), HBBTV_KIT_XML_AIT_OK, "");
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_TRUE(vesta_hbbtv_tick());
    ASSERT_NE(window()->getAIT(), nullptr);
    EXPECT_TRUE(window()->getAIT()->isXMLBased());
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "AIT xml [1.2]",
                             "START 1.2 independent autostart http://a.example/app/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/app/index.html)",
                         }));
    ASSERT_NE(running(), nullptr);
    EXPECT_TRUE(running()->isWithinApplicationBoundaries("http://a.example/other"));
    EXPECT_FALSE(running()->isWithinApplicationBoundaries("http://b.example/"));
}

TEST_F(XMLAITLoading, MayHaveARelativeDocumentAndNoURL)
{
    const std::string relative = changed(sampleDocument(), ">http://a.example/app/<", ">app/<");
    EXPECT_EQ(load(window(), relative, "http://b.example/x/ait.xml").status, HBBTV_KIT_XML_AIT_OK);
    tickAll();
    EXPECT_EQ(runningURL(), "http://b.example/x/app/index.html");
    forgetJournal();
    EXPECT_EQ(load(window(), relative, nullptr).status, HBBTV_KIT_XML_AIT_INVALID);
    EXPECT_EQ(load(window(), sampleDocument(), nullptr).status, HBBTV_KIT_XML_AIT_OK);
}

TEST_F(XMLAITLoading, TellsWhatIsWrongAndPutsNothingInForce)
{
    const std::string document = changed(sampleDocument(), ">AUTOSTART<", ">AUTOSTRAT<");
    const HBBTV_KitXMLAITResult result = load(window(), document);
    EXPECT_EQ(result.status, HBBTV_KIT_XML_AIT_INVALID);
    EXPECT_EQ(result.line, placeOf(document, "<controlCode>").line);
    EXPECT_EQ(result.column, 11u);
    EXPECT_STREQ(result.text,
                 "controlCode \"AUTOSTRAT\": expected AUTOSTART, PRESENT, DESTROY, KILL, PREFETCH, "
                 "REMOTE, DISABLED, PLAYBACK_AUTOSTART");
    expectNothing();
    EXPECT_EQ(load(window(), "<").status, HBBTV_KIT_XML_AIT_NOT_WELL_FORMED);
    EXPECT_EQ(load(window(), std::string(1048577, ' ')).status, HBBTV_KIT_XML_AIT_TOO_LARGE);
    // A good application before the fault does not come in force either.
    EXPECT_EQ(load(window(), documentOf(applicationText + "<Application/>")).status,
              HBBTV_KIT_XML_AIT_INVALID);
    expectNothing();
}

TEST_F(XMLAITLoading, LeavesTheTableBeforeItWhereSomethingIsWrong)
{
    load(window(), sampleDocument());
    tickAll();
    Application* const before = running();
    forgetJournal();
    EXPECT_EQ(load(window(), documentOf("")).status, HBBTV_KIT_XML_AIT_INVALID);
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(running(), before);
    EXPECT_NE(window()->getAIT(), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(XMLAITLoading, EndsAnApplicationThatTheNextDocumentKills)
{
    load(window(), sampleDocument());
    tickAll();
    ASSERT_NE(running(), nullptr);
    EXPECT_EQ(load(window(), changed(sampleDocument(), "AUTOSTART", "KILL")).status,
              HBBTV_KIT_XML_AIT_OK);
    tickAll();
    EXPECT_EQ(running(), nullptr);
}

TEST_F(XMLAITLoading, KnowsTheWindowsOfTheManagerAlone)
{
    Window foreign(nullptr);
    Window* const released = createWindow("released");
    vesta_hbbtv_release_window(released);
    forgetJournal();
    char nobody = 0;
    for (void* const handle : {static_cast<void*>(nullptr), static_cast<void*>(&foreign),
                               static_cast<void*>(released), static_cast<void*>(&nobody)})
        expectAnswer(load(handle, sampleDocument()), HBBTV_KIT_XML_AIT_UNKNOWN_WINDOW,
                     "no window has this handle");
    expectNothing();
}

TEST_F(XMLAITLoading, IsForgottenWithAWindowThatIsReleasedMeanwhile)
{
    Window* const other = createWindow("other");
    EXPECT_EQ(load(other, sampleDocument()).status, HBBTV_KIT_XML_AIT_OK);
    vesta_hbbtv_release_window(other);
    forgetJournal();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(XMLAITLoading, ServesTheWindowThatItNames)
{
    Window* const other = createWindow("other");
    EXPECT_EQ(load(other, sampleDocument()).status, HBBTV_KIT_XML_AIT_OK);
    tickAll();
    EXPECT_EQ(running(), nullptr);
    EXPECT_NE(other->getRunningApplication(), nullptr);
}

TEST_F(XMLAITLoading, NeedsADocument)
{
    for (const size_t length : {size_t{0}, size_t{1}, ~size_t{0}})
        expectAnswer(hbbtv_kit_load_xml_ait(window(), nullptr, length, nullptr),
                     HBBTV_KIT_XML_AIT_NO_DOCUMENT, "there is no document");
    const HBBTV_KitXMLAITResult empty = hbbtv_kit_load_xml_ait(window(), "", 0, nullptr);
    EXPECT_EQ(empty.status, HBBTV_KIT_XML_AIT_NOT_WELL_FORMED);
    EXPECT_EQ(empty.line, 1u);
    expectNothing();
}

TEST_F(XMLAITLoading, NeedsALibraryThatRuns)
{
    Window* const former = window();
    shutdown();
    expectAnswer(load(former, sampleDocument()), HBBTV_KIT_XML_AIT_NOT_INITIALISED,
                 "the application manager does not run");
    EXPECT_EQ(WindowManager::instance, nullptr) << "nothing is made";
    void* const early = vesta_hbbtv_create_window();
    expectAnswer(load(early, sampleDocument()), HBBTV_KIT_XML_AIT_NOT_INITIALISED,
                 "the application manager does not run");
    expectAnswer(load(nullptr, ""), HBBTV_KIT_XML_AIT_NOT_INITIALISED,
                 "the application manager does not run");
}

TEST_F(XMLAITLoading, AnswersTheLongestTextsAsAWhole)
{
    const std::string code = repeated("~", 300);
    EXPECT_STREQ(load(window(), changed(sampleDocument(), "AUTOSTART", code)).text,
                 ("controlCode \"" + code.substr(0, 40) +
                  "...\": expected AUTOSTART, PRESENT, DESTROY, KILL, PREFETCH, REMOTE, DISABLED, "
                  "PLAYBACK_AUTOSTART")
                     .c_str());
    const std::string relative = repeated("~", 4000);
    EXPECT_STREQ(
        load(window(), changed(sampleDocument(), ">http://a.example/<", ">" + relative + "<"),
             nullptr)
            .text,
        ("BoundaryExtension \"" + relative.substr(0, 40) +
         "...\": expected an http:, https: or dvb: URL, absolute since the document's URL is "
         "not known")
            .c_str());
}

TEST_F(XMLAITLoading, MayBeCalledByAListener)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [this](auto*) {
        listener().onNotification.clear();
        EXPECT_EQ(load(window(), changed(sampleDocument(), "<appId>2<", "<appId>3<")).status,
                  HBBTV_KIT_XML_AIT_OK);
    };
    load(window(), sampleDocument());
    tickAll();
    ASSERT_NE(window()->getAIT(), nullptr);
    EXPECT_EQ(window()->getAIT()->getAITApplication(0U)->getApplicationId(), 3);
}

}  // namespace
