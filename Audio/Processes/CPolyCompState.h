#pragma once
#include <cstdint>

namespace orl {

// What the sample routine of the multi-stage gain computer reads and moves: one channel's
// stage table, curve, output gain and the stage outputs. A plain record, so that both builds of
// the kernels work on the same memory and a test can set one up by hand.
struct alignas(32) CPolyCompState {
    // Room for the longest table the parameter range can make (28 stages), and then some;
    // one more slot keeps the arrays a whole number of 4-wide vectors.
    static constexpr int32_t kMaxStages = 35;
    static constexpr int32_t kStageSlots = 36;

    // Stage outputs, linear gains; 1.0 is no reduction. Slots at and above stageCount are not
    // read by the routine.
    alignas(32) double stage[kStageSlots] = {};
    // One-pole coefficient of each stage in use.
    alignas(32) double stageCoeff[kStageSlots] = {};

    int32_t stageCount = 0;  // N
    int32_t slowStart = 0;   // F: the first stage whose time constant lies above 0.101 s
    int32_t attackMult = 0;  // 0: the attack stages count once; else as square roots
    int32_t releaseMult = 0; // 0: the release stages count squared; else once

    double thresholdDb = 0.0;
    // Gain curve: slope above the knee (negative), knee start K, centre height C of the knee
    // arc, C*C, and the level E where the arc meets the line.
    double kneeSlopeM = -0.5;
    double kneeStart = 0.0;
    double kneeCentreY = 0.0;
    double kneeRadiusSq = 0.0;
    double kneeEnd = 0.0;

    double wet = 1.0;
    double dry = 0.0;
    double outGainTarget = 1.0;
    double outGainSmooth = 1.0;
    double outGainCoeff = 0.0;
};

}  // namespace orl
