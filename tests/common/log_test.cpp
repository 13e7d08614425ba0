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
    EXPECT_LOG(log, {6, "visoraBlurC", "x"}, {3, "plain", "x"}, {6, std::string(127, 't'), "x"});
}

TEST(LogAssert, LineNumberTakesFourPlacesAndTheMessage511AtMost)
{
    const std::string longText(600, 'm');
    LogCapture log(-5);
    EXPECT_EQ(3, vsrLogAssert("f", 7, 6, "%s", "abc"));
    EXPECT_EQ(4, vsrLogAssert("f", 12345, 6, "a=%d", 23));
    EXPECT_EQ(2, vsrLogAssert("f", 0, 6, "xy"));
    EXPECT_EQ(600, vsrLogAssert("f", 0, 6, "%s", longText.c_str())) << "the whole length";
    EXPECT_EQ(600, vsrLogAssert("f", 42, 6, "%s", longText.c_str()));
    EXPECT_LOG(log, {6, "f", "   7| abc"}, {6, "f", "12345| a=23"}, {6, "f", "xy"}, {6, "f", longText.substr(0, 511)},
               {6, "f", "  42| " + longText.substr(0, 505)});
}

}  // namespace
}  // namespace visora::test
