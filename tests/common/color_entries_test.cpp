// Entry points of the conversions from luma and chroma to RGB: defaults, refusals, choice of the kind, hard stops.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/visoraRows.h"
#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

using Bytes = std::vector<uint8_t>;

using Planar = vsrStatus (*)(const uint8_t*, const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t,
                             uint32_t, uint8_t*, uint32_t);
using PseudoPlanar = vsrStatus (*)(const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t, uint8_t*,
                                   uint32_t);

template <class Function>
struct Member
{
    const char* name;
    Function entry;
    uint32_t pixelBytes;
    int sampling;
    const char* more = "";
};

#define MEMBER(name, pixelBytes, sampling) #name, name, pixelBytes, sampling

const Member<Planar> kPlanar[] = {
    {MEMBER(vsrColorYCbCr444PlanarToRGB565u8, 2, 444)},   {MEMBER(vsrColorYCbCr444PlanarToRGB888u8, 3, 444)},
    {MEMBER(vsrColorYCbCr444PlanarToRGBA8888u8, 4, 444)}, {MEMBER(vsrColorYCbCr422PlanarToRGB565u8, 2, 422)},
    {MEMBER(vsrColorYCbCr422PlanarToRGB888u8, 3, 422)},   {MEMBER(vsrColorYCbCr422PlanarToRGBA8888u8, 4, 422)},
    {MEMBER(vsrColorYCbCr420PlanarToRGB565u8, 2, 420)},   {MEMBER(vsrColorYCbCr420PlanarToRGB888u8, 3, 420)},
    {MEMBER(vsrColorYCbCr420PlanarToRGBA8888u8, 4, 420)},
};

const Member<PseudoPlanar> kPseudoPlanar[] = {
    {MEMBER(vsrColorYCbCr444PseudoPlanarToRGB565u8, 2, 444)},
    {MEMBER(vsrColorYCbCr444PseudoPlanarToRGB888u8, 3, 444)},
    {MEMBER(vsrColorYCbCr444PseudoPlanarToRGBA8888u8, 4, 444)},
    {MEMBER(vsrColorYCbCr422PseudoPlanarToRGB565u8, 2, 422)},
    {MEMBER(vsrColorYCbCr422PseudoPlanarToRGB888u8, 3, 422), " && srcWidth > 1"},
    {MEMBER(vsrColorYCbCr422PseudoPlanarToRGBA8888u8, 4, 422)},
    {MEMBER(vsrColorYCbCr420PseudoPlanarToRGB565u8, 2, 420)},
    {MEMBER(vsrColorYCbCr420PseudoPlanarToRGB888u8, 3, 420)},
    {MEMBER(vsrColorYCbCr420PseudoPlanarToRGBA8888u8, 4, 420)},
};

// The contracts; # stands for the bytes of a destination pixel.
constexpr char kPlanar444[] =
    "srcY && srcCb && srcCr && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= "
    "(srcWidth*sizeof(uint8_t)) ) && ( srcCbStride == 0 || srcCbStride >= (srcWidth*sizeof(uint8_t)) ) && ( "
    "srcCrStride == 0 || srcCrStride >= (srcWidth*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= "
    "(srcWidth*#*sizeof(uint8_t)))";
constexpr char kPlanarHalved[] =
    "srcY && srcCb && srcCr && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= "
    "(srcWidth*sizeof(uint8_t)) ) && ( srcCbStride == 0 || srcCbStride >= ((srcWidth+1)/2*sizeof(uint8_t)) ) && ( "
    "srcCrStride == 0 || srcCrStride >= ((srcWidth+1)/2*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= "
    "(srcWidth*#*sizeof(uint8_t)))";
constexpr char kPseudoPlanar444[] =
    "srcY && srcC && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) "
    "&& ( srcCStride == 0 || srcCStride >= (srcWidth*2*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= "
    "(srcWidth*#*sizeof(uint8_t)))";
constexpr char kPseudoPlanarHalved[] =
    "srcY && srcC && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) "
    "&& ( srcCStride == 0 || srcCStride >= (srcWidth*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= "
    "(srcWidth*#*sizeof(uint8_t)))";

std::string contract(std::string text, uint32_t pixelBytes, const char* more = "")
{
    return text.replace(text.find('#'), 1, std::to_string(pixelBytes)) + more;
}

constexpr uint32_t kWidth = 6;
constexpr uint32_t kHeight = 4;

// Buffers that hold any of the members' images, and what must stay true of a refused call.
struct Fixture
{
    Bytes src = Bytes(kWidth * kHeight * 4, 100);
    Bytes dst = Bytes(kWidth * kHeight * 4, 7);
    const Bytes untouched = dst;
    static constexpr int kLogResult = -17;
    LogCapture log{kLogResult};

    void expectRefused(vsrStatus status, const std::string& name, const std::string& condition)
    {
        EXPECT_EQ(static_cast<vsrStatus>(kLogResult), status) << name;
        EXPECT_EQ((std::vector{refusal(name, condition)}), log.take());
        EXPECT_EQ(untouched, dst) << name;
    }
};

TEST(ColorEntries, PlanarMembersRefuse)
{
    Fixture f;
    const uint8_t* s = f.src.data();
    uint8_t* d = f.dst.data();
    for (const Member<Planar>& m : kPlanar)
    {
        const std::string text = contract(m.sampling == 444 ? kPlanar444 : kPlanarHalved, m.pixelBytes);
        const uint32_t chroma = m.sampling == 444 ? kWidth : kWidth / 2;
        const uint32_t row = kWidth * m.pixelBytes;
        const auto refused = [&](vsrStatus status) { f.expectRefused(status, m.name, text); };
        refused(m.entry(nullptr, s, s, kWidth, kHeight, 0, 0, 0, d, 0));
        refused(m.entry(s, nullptr, s, kWidth, kHeight, 0, 0, 0, d, 0));
        refused(m.entry(s, s, nullptr, kWidth, kHeight, 0, 0, 0, d, 0));
        refused(m.entry(s, s, s, kWidth, kHeight, 0, 0, 0, nullptr, 0));
        refused(m.entry(s, s, s, 0, kHeight, 0, 0, 0, d, 0));
        refused(m.entry(s, s, s, kWidth, 0, 0, 0, 0, d, 0));
        refused(m.entry(s, s, s, kWidth, kHeight, kWidth - 1, 0, 0, d, 0));
        refused(m.entry(s, s, s, kWidth, kHeight, 0, chroma - 1, 0, d, 0));
        refused(m.entry(s, s, s, kWidth, kHeight, 0, 0, chroma - 1, d, 0));
        refused(m.entry(s, s, s, kWidth, kHeight, 0, 0, 0, d, row - 1));
        // An odd width has half a sample more.
        refused(m.entry(s, s, s, kWidth - 1, kHeight, 0, (kWidth - 1) / 2, 0, d, 0));
    }
}

TEST(ColorEntries, PseudoPlanarMembersRefuse)
{
    Fixture f;
    const uint8_t* s = f.src.data();
    uint8_t* d = f.dst.data();
    for (const Member<PseudoPlanar>& m : kPseudoPlanar)
    {
        const std::string text =
            contract(m.sampling == 444 ? kPseudoPlanar444 : kPseudoPlanarHalved, m.pixelBytes, m.more);
        const uint32_t chroma = m.sampling == 444 ? kWidth * 2 : kWidth;
        const uint32_t row = kWidth * m.pixelBytes;
        const auto refused = [&](vsrStatus status) { f.expectRefused(status, m.name, text); };
        refused(m.entry(nullptr, s, kWidth, kHeight, 0, 0, d, 0));
        refused(m.entry(s, nullptr, kWidth, kHeight, 0, 0, d, 0));
        refused(m.entry(s, s, kWidth, kHeight, 0, 0, nullptr, 0));
        refused(m.entry(s, s, 0, kHeight, 0, 0, d, 0));
        refused(m.entry(s, s, kWidth, 0, 0, 0, d, 0));
        refused(m.entry(s, s, kWidth, kHeight, kWidth - 1, 0, d, 0));
        refused(m.entry(s, s, kWidth, kHeight, 0, chroma - 1, d, 0));
        refused(m.entry(s, s, kWidth, kHeight, 0, 0, d, row - 1));
        if (*m.more)
        {
            refused(m.entry(s, s, 1, kHeight, 0, 0, d, 0));
        }
    }
}

TEST(ColorEntries, OtherMembersRefuse)
{
    using Whole = vsrStatus (*)(const uint8_t*, uint32_t, uint32_t, uint32_t*);
    using Tiles = vsrStatus (*)(const uint8_t*, uint32_t, uint32_t, uint8_t*);
    const Member<Whole> wholeBuffers[] = {
        {MEMBER(vsrColorYUV420toRGB565u8, 2, 420)},
        {MEMBER(vsrColorYUV420toRGB565u8Rotate180, 2, 420)},
        {MEMBER(vsrColorYUV420toRGB8888u8, 4, 420)},
    };
    const Member<Tiles> tiles[] = {
        {MEMBER(vsrColorYCrCbH1V1toRGB888u8, 3, 0), "src && dst && width && height"},
        {MEMBER(vsrColorYCrCbH2V2toRGB888u8, 3, 0), "y_src && dst && width && height"},
        {MEMBER(vsrColorYCrCbH2V1toRGB888u8, 3, 0), "ysrc && dst && width && height"},
        {MEMBER(vsrColorYCrCbH1V2toRGB888u8, 3, 0), "ysrc && dst && width && height"},
    };
    Fixture f;
    const uint8_t* s = f.src.data();
    const auto refuseAll = [&](const auto& member, auto* d, const char* text)
    {
        f.expectRefused(member.entry(nullptr, kWidth, kHeight, d), member.name, text);
        f.expectRefused(member.entry(s, kWidth, kHeight, nullptr), member.name, text);
        f.expectRefused(member.entry(s, 0, kHeight, d), member.name, text);
        f.expectRefused(member.entry(s, kWidth, 0, d), member.name, text);
    };
    auto* words = reinterpret_cast<uint32_t*>(f.dst.data());
    for (const Member<Whole>& member : wholeBuffers)
    {
        refuseAll(member, words, "src && dst && width && height");
    }
    for (const Member<Tiles>& member : tiles)
    {
        refuseAll(member, f.dst.data(), member.more);
    }

    constexpr char kName[] = "vsrColorYCrCb420PseudoPlanarToRGB8888u8";
    const auto convert = vsrColorYCrCb420PseudoPlanarToRGB8888u8;
    for (const vsrStatus status :
         {convert(nullptr, 4, 2, 4, 4, words, 16), convert(s, 4, 2, 4, 4, nullptr, 16),
          convert(s, 0, 2, 4, 4, words, 16), convert(s, 4, 0, 4, 4, words, 16), convert(s, 4, 2, 0, 4, words, 16),
          convert(s, 4, 2, 4, 0, words, 16), convert(s, 4, 2, 4, 4, words, 0)})
    {
        EXPECT_EQ(static_cast<vsrStatus>(Fixture::kLogResult), status);
    }
    EXPECT_EQ(std::vector(7, refusal(kName,
                                     "src && dst && srcWidth && srcHeight && srcYStride && srcCStride && "
                                     "dstStride")),
              f.log.take());
    EXPECT_EQ(f.untouched, f.dst);
}

// An odd width and an even height, so that every default differs from its neighbours.
TEST(ColorEntries, AStrideOfZeroIsPacked)
{
    constexpr uint32_t kOdd = 7;
    Bytes src(kOdd * kHeight * 2 + 1);
    for (size_t i = 0; i < src.size(); ++i)
    {
        src[i] = static_cast<uint8_t>(i * 37);
    }
    const uint8_t* s = src.data();
    for (const Member<Planar>& m : kPlanar)
    {
        Bytes packed(kOdd * kHeight * m.pixelBytes);
        Bytes zero = packed;
        const uint32_t chroma = m.sampling == 444 ? kOdd : (kOdd + 1) / 2;
        EXPECT_EQ(0u,
                  m.entry(s, s + 3, s + 9, kOdd, kHeight, kOdd, chroma, chroma, packed.data(), kOdd * m.pixelBytes));
        EXPECT_EQ(0u, m.entry(s, s + 3, s + 9, kOdd, kHeight, 0, 0, 0, zero.data(), 0));
        EXPECT_EQ(packed, zero) << m.name;
    }
    for (const Member<PseudoPlanar>& m : kPseudoPlanar)
    {
        Bytes packed(kOdd * kHeight * m.pixelBytes);
        Bytes zero = packed;
        const uint32_t chroma = m.sampling == 444 ? kOdd * 2 : kOdd;
        EXPECT_EQ(0u, m.entry(s, s, kOdd, kHeight, kOdd, chroma, packed.data(), kOdd * m.pixelBytes));
        EXPECT_EQ(0u, m.entry(s, s, kOdd, kHeight, 0, 0, zero.data(), 0));
        EXPECT_EQ(packed, zero) << m.name;
    }
    Bytes packed(kOdd * kHeight * 4);
    Bytes whole = packed;
    vsrColorYCrCb420PseudoPlanarToRGB8888u8(s, kOdd, kHeight, kOdd, kOdd, reinterpret_cast<uint32_t*>(packed.data()),
                                            kOdd * 4);
    vsrColorYUV420toRGB8888u8(s, kOdd, kHeight, reinterpret_cast<uint32_t*>(whole.data()));
    EXPECT_EQ(packed, whole);
}

// Gives a row of either table a kind, switches tracing on, and puts everything back.
class RowKind
{
  public:
    RowKind(Row row, VSR_IMPL kind) : RowKind(vsrImplTable[static_cast<uint32_t>(row)], kind) {}
    RowKind(InternalRow row, VSR_IMPL kind) : RowKind(vsrInternalImplTable[static_cast<uint32_t>(row)], kind) {}
    ~RowKind()
    {
        entry_ = VSR_IMPL_CPU;
        libLogPrint = 0;
    }
    RowKind(const RowKind&) = delete;
    RowKind& operator=(const RowKind&) = delete;

  private:
    RowKind(VSR_IMPL& entry, VSR_IMPL kind) : entry_(entry)
    {
        entry_ = kind;
        libLogPrint = 1;
    }

    VSR_IMPL& entry_;
};

TEST(ColorEntries, TheKindFollowsAlignmentAndSize)
{
    alignas(16) static uint8_t src[192 * 144 * 3];
    alignas(16) static uint8_t dst[192 * 144 * 4 + 16];
    auto* words = reinterpret_cast<uint32_t*>(dst);
    const auto traced = [](const char* name, const char* kind, vsrStatus status, LogCapture& log)
    {
        EXPECT_EQ(0u, status);
        EXPECT_EQ((std::vector{trace(name, kind)}), log.take());
    };
    LogCapture log;
    {
        const RowKind kind(Row::vsrColorYCbCr444PlanarToRGB565u8, VSR_IMPL_CDSP);
        const auto convert =
            [&](const char* expected, size_t offset, uint32_t width, uint32_t yStride, uint32_t cbStride)
        {
            traced("vsrColorYCbCr444PlanarToRGB565u8", expected,
                   vsrColorYCbCr444PlanarToRGB565u8(src, src + offset, src, width, 144, yStride, cbStride, 0, dst, 0),
                   log);
        };
        convert("CDSP", 0, 184, 0, 0);
        convert("CDSP", 8, 176, 184, 0);
        // 176 x 144 is one pixel short of being worth it.
        convert("VECTA", 0, 176, 0, 0);
        convert("VECTA", 4, 184, 0, 0);
        convert("VECTA", 0, 180, 184, 184);
        convert("VECTA", 0, 184, 0, 188);
    }
    {
        const RowKind kind(InternalRow::vsrColorYUV420toRGB565u8Rotate180, VSR_IMPL_CDSP);
        constexpr char kName[] = "vsrColorYUV420toRGB565u8Rotate180";
        traced(kName, "CDSP", vsrColorYUV420toRGB565u8Rotate180(src, 192, 144, words), log);
        traced(kName, "VECTA", vsrColorYUV420toRGB565u8Rotate180(src + 4, 192, 144, words), log);
        traced(kName, "VECTA", vsrColorYUV420toRGB565u8Rotate180(src, 64, 64, words), log);
    }
    for (const auto& [kindNumber, kindName] : {std::pair(VSR_IMPL_CDSP, "CDSP"), std::pair(VSR_IMPL_GPU, "GPU")})
    {
        const RowKind kind(Row::vsrColorYCrCb420PseudoPlanarToRGB8888u8, kindNumber);
        constexpr char kName[] = "vsrColorYUV420toRGB8888u8";
        traced(kName, kindName, vsrColorYUV420toRGB8888u8(src, 8, 2, words), log);
        traced(kName, "VECTA", vsrColorYUV420toRGB8888u8(src, 12, 2, words), log);
        traced(kName, "VECTA", vsrColorYUV420toRGB8888u8(src + 8, 8, 2, words), log);
        traced(kName, "VECTA", vsrColorYUV420toRGB8888u8(src, 8, 2, words + 2), log);
    }
}

TEST(ColorEntriesDeathTest, AWidthOfOneEndsTheProcessWhereChromaIsHalved)
{
    constexpr char kLine[] = "visora_lib_log: src/cpu/visoraColorC@[0-9]+: length > 1 Assertion failed";
    const Bytes src(16);
    Bytes dst(16);
    const uint8_t* s = src.data();
    uint8_t* d = dst.data();
    for (const Member<Planar>& m : kPlanar)
    {
        if (m.sampling != 444)
        {
            EXPECT_EXIT(m.entry(s, s, s, 1, 2, 0, 0, 0, d, 0), testing::ExitedWithCode(1), kLine) << m.name;
        }
    }
    for (const Member<PseudoPlanar>& m : kPseudoPlanar)
    {
        if (m.sampling != 444 && !*m.more)
        {
            EXPECT_EXIT(m.entry(s, s, 1, 2, 0, 0, d, 0), testing::ExitedWithCode(1), kLine) << m.name;
        }
    }
    EXPECT_EXIT(vsrColorYCbCr422PlanarToRGB565u8V(s, s, s, 1, 2, 1, 1, 1, d, 2), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrColorYCbCr420PseudoPlanarToRGB888u8V(s, s, 1, 2, 1, 2, d, 3), testing::ExitedWithCode(1), kLine);
}

}  // namespace
}  // namespace visora::test
