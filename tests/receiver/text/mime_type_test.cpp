#include <gtest/gtest.h>

#include "receiver/text/mime_type.h"

namespace receiver {
namespace {

TEST(MimeType, ComesFromTheEnding)
{
    EXPECT_EQ(mimeTypeOf("a/index.html"), "application/vnd.hbbtv.xhtml+xml");
    EXPECT_EQ(mimeTypeOf("UPPER.HTM?x.css#y.js"), "application/vnd.hbbtv.xhtml+xml");
    EXPECT_EQ(mimeTypeOf("a.css"), "text/css");
    EXPECT_EQ(mimeTypeOf("a.JPEG"), "image/jpeg");
    EXPECT_EQ(mimeTypeOf("html"), "");
    EXPECT_EQ(mimeTypeOf("a.bin"), "");
    EXPECT_TRUE(isPage("a.bin", "text/html"));
    EXPECT_TRUE(isPage("a.html", ""));
    EXPECT_FALSE(isPage("a.html", "text/plain"));
    EXPECT_FALSE(isPage("a.css", ""));
}

}  // namespace
}  // namespace receiver
