// A tracker in double precision, written for nothing but to be read.
#ifndef VISORA_TESTS_SUPPORT_TRACK_JUDGE_H
#define VISORA_TESTS_SUPPORT_TRACK_JUDGE_H

#include "support/motion.h"

namespace visora::test
{

struct JudgeRules
{
    int halfWidth = 7;
    int halfHeight = 7;
    int levels = 3;
    int iterations = 30;
    double epsilon = 0.0009;
};

struct Verdict
{
    Position position;
    int status;
    /** Smaller eigenvalue of the gradient matrix per pixel of the last window: how well it can be tracked. */
    double texture;
};

Verdict judge(const Frame& first, const Frame& second, Position feature, const JudgeRules& rules);

}  // namespace visora::test

#endif
