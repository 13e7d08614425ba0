#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "visora/runtime.h"

namespace visora::test
{
namespace
{

TEST(LogAssert, TagIsThePartBehindTheLastSlashCutAt127)
{
    LogCapture log;
    vsrLogAssert("src/cpu/visoraBlurC", 0, 6, "%s", "x");
    vsrLogAssert("plain", 0, 3, "%s", "x");
    vsrLogAssert(("dir/" + std::string(200, 't')).c_str(), 0, 6, "%s", "x");
    EXPECT_EQ((std::vector<LogLine>{{6, "visoraBlurC", "x"}, {3, "plain", "x"}, {6, std::string(127, 't'), "x"}}),
              log.take());
}

TEST(LogAssert, LineNumberIsRightAlignedInFourPlacesAndAbsentForZero)
{
    LogCapture log;
    EXPECT_EQ(3, vsrLogAssert("f", 7, 6, "%s", "abc"));
    EXPECT_EQ(4, vsrLogAssert("f", 12345, 6, "a=%d", 23));
    EXPECT_EQ(2, vsrLogAssert("f", 0, 6, "xy"));
    EXPECT_EQ((std::vector<LogLine>{{6, "f", "   7| abc"}, {6, "f", "12345| a=23"}, {6, "f", "xy"}}), log.take());
}

TEST(LogAssert, MessageIsCutAt511CharactersButItsWholeLengthReturned)
{
    const std::string longText(600, 'm');
    LogCapture log(-5);
    EXPECT_EQ(600, vsrLogAssert("f", 0, 6, "%s", longText.c_str()));
    EXPECT_EQ(600, vsrLogAssert("f", 42, 6, "%s", longText.c_str()));
    EXPECT_EQ((std::vector<LogLine>{{6, "f", std::string(511, 'm')}, {6, "f", "  42| " + std::string(505, 'm')}}),
              log.take());
}

}  // namespace
}  // namespace visora::test
