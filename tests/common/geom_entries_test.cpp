// Entry points of the model fits: records that they refuse.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/correspondences.h"
#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

// Everything that any of the entry points takes.
struct GeomCall
{
    CorrespondenceSet set = CorrespondenceSet({20}, 1);
    vsrCorrespondences record = set.record();
    const vsrCorrespondences* corrs = &record;
    std::vector<float> floats = std::vector<float>(100, 7);
    std::vector<uint16_t> lists = std::vector<uint16_t>(40, 7);
    uint32_t number = 7;
    float* model = floats.data();
    float* errors = floats.data() + 40;
    uint16_t* inliers = lists.data();
    uint16_t* scratch = lists.data() + 20;
    uint32_t* count = &number;

    bool untouched() const
    {
        return floats == std::vector<float>(100, 7) && lists == std::vector<uint16_t>(40, 7) && number == 7;
    }
};

using Entry = std::function<int64_t(const GeomCall&)>;

struct Member
{
    std::string name;
    Entry run;
    std::string condition;  // empty when it refuses with 3, without a log line
};

const std::string kRecord =
    "corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1";

const std::vector<Member> kMembers = {
    {"vsrGeomHomographyFitf32", [](const GeomCall& c) { return vsrGeomHomographyFitf32(c.corrs, c.model); },
     "corrs && homography && " + kRecord},
    {"vsrGeomHomographyFitDPf32", [](const GeomCall& c) { return vsrGeomHomographyFitDPf32(c.corrs, c.model); },
     "corrs && homography && " + kRecord},
    {"vsrGeomAffineFitf32", [](const GeomCall& c) { return vsrGeomAffineFitf32(c.corrs, c.model); }, "corrs && affine"},
    {"vsrGeomHomographyEvaluatef32",
     [](const GeomCall& c) { return vsrGeomHomographyEvaluatef32(c.corrs, c.model, 1, c.inliers, c.count); },
     "corrs && homography && numInliers && (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && "
     "inliers))"},
    {"vsrGeomHomographyEvaluatef32_v2",
     [](const GeomCall& c)
     { return vsrGeomHomographyEvaluatef32_v2(c.corrs, c.model, 1, c.inliers, c.count, c.errors); },
     "corrs && homography && numInliers && (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && "
     "inliers && errinliers))"},
    {"vsrGeomAffineEvaluatef32",
     [](const GeomCall& c) { return vsrGeomAffineEvaluatef32(c.corrs, c.model, 1, c.inliers, c.count); },
     "corrs && affine && numInliers && (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && "
     "inliers))"},
    {"vsrGeomHomographyRobustFitf32",
     [](const GeomCall& c)
     { return vsrGeomHomographyRobustFitf32(c.corrs, c.model, 1, c.inliers, c.count, c.scratch); },
     ""},
    {"vsrGeomHomographyRobustFitf32_v2",
     [](const GeomCall& c)
     { return vsrGeomHomographyRobustFitf32_v2(c.corrs, c.model, 1, c.inliers, c.count, c.scratch, c.errors); },
     ""},
};

TEST(GeomEntries, RefuseBadArgumentsAndWriteNothing)
{
    const struct
    {
        const char* what;
        std::function<void(GeomCall&)> spoil;
        std::string names;  // a part of the names of the members that it concerns
        std::string notNames = "-";
    } cases[] = {
        {"no points", [](GeomCall& c) { c.record.from = nullptr; }, "", "AffineFit"},
        {"no partners", [](GeomCall& c) { c.record.to = nullptr; }, "", "AffineFit"},
        {"no indices", [](GeomCall& c) { c.record.indices = nullptr; }, "", "AffineFit"},
        {"points overlap", [](GeomCall& c) { c.record.fromStride = 1; }, "HomographyFit"},
        {"partners overlap", [](GeomCall& c) { c.record.toStride = 0; }, "HomographyFit"},
        {"points overlap", [](GeomCall& c) { c.record.fromStride = 1; }, "Robust"},
        {"partners overlap", [](GeomCall& c) { c.record.toStride = 1; }, "Robust"},
        {"no indices and no list", [](GeomCall& c) { c.record.numIndices = 0, c.inliers = nullptr; }, "Robust"},
    };
    for (const Member& member : kMembers)
    {
        for (const auto& c : cases)
        {
            if (member.name.find(c.names) == std::string::npos || member.name.find(c.notNames) != std::string::npos)
            {
                continue;
            }
            for (const int result : {7, -5})
            {
                GeomCall call;
                c.spoil(call);
                LogCapture log(result);
                const int64_t status = member.run(call);
                EXPECT_EQ(member.condition.empty() ? 3 : result, static_cast<int32_t>(status))
                    << member.name << ", " << c.what;
                EXPECT_EQ(member.condition.empty() ? std::vector<LogLine>{}
                                                   : std::vector{refusal(member.name, member.condition)},
                          log.take())
                    << c.what;
                EXPECT_TRUE(call.untouched()) << member.name << ", " << c.what;
            }
        }
    }
    float number = 4;
    for (int missing = 0; missing < 4; ++missing)
    {
        LogCapture log(-9);
        const auto at = [&](int argument) { return argument == missing ? nullptr : &number; };
        EXPECT_EQ(-9, vsrSolveCholeskyf32(at(0), at(1), at(2), 1, at(3)));
        EXPECT_EQ(std::vector{refusal("vsrSolveCholeskyf32", "A && b && diag && x")}, log.take());
        EXPECT_EQ(4, number);
    }
}

}  // namespace
}  // namespace visora::test
