// The half-band design: its nome against complete elliptic integrals, its measured response
// against the attenuation the formula promises and against the closed-form values every
// two-branch half-band has, and the two sets the plug-in ships.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "Tools/hbfdesign/CHbfDesign.h"

using orl::CHbfDesign;

// q = exp(-pi K(k') / K(k)), on both sides of k = 1/sqrt 2 where the series changes hands.
TEST(CHbfDesignTest, NomeMatchesEllipticIntegrals) {
    for (const double k : {0.05, 0.3, 0.5888, 0.7, 0.72, 0.9, 0.99, 0.9999}) {
        const double kc = std::sqrt(1.0 - k * k);
        const double q = std::exp(-std::numbers::pi * std::comp_ellint_1(kc) / std::comp_ellint_1(k));
        EXPECT_NEAR(CHbfDesign::nomeOf(k), q, 1e-13 * q) << "k " << k;
    }
    // A small modulus, where K(k') itself loses digits: q = L + 8 L^2 + ..., L = k^2 / 16.
    const double l = 1e-8 / 16.0;
    EXPECT_NEAR(CHbfDesign::nomeOf(1e-4), l + 8.0 * l * l, 1e-15 * l);
}

// The measured stop band sits on the promised attenuation (an equiripple design touches it), for
// short and long filters, wide and narrow transitions.
TEST(CHbfDesignTest, MeasuredAttenuationMeetsPrediction) {
    struct Case {
        int32_t count;
        double transition;
    };
    for (const Case c : {Case{2, 0.2}, Case{4, 0.05}, Case{6, 0.1}, Case{8, 0.125}, Case{10, 1.0 / 12.0},
                         Case{12, 0.02}, Case{16, 0.01}}) {
        CHbfDesign d;
        ASSERT_TRUE(d.design(c.count, c.transition));
        const double predicted = CHbfDesign::predictedAttenuationDb(c.count, c.transition);
        const double measured = CHbfDesign::measuredAttenuationDb(d.a(), d.b(), d.perBranch(), c.transition);
        EXPECT_NEAR(measured, predicted, 1.0) << c.count << " coefficients, width " << c.transition;
        // Coefficients of a stable allpass, ascending and interleaved between the branches.
        for (int32_t i = 0; i < d.perBranch(); ++i) {
            EXPECT_GT(d.a()[i], 0.0);
            EXPECT_LT(d.a()[i], d.b()[i]);
            EXPECT_LT(d.b()[i], 1.0);
            if (i > 0) {
                EXPECT_LT(d.b()[i - 1], d.a()[i]);
            }
        }
    }
    // The prediction itself against its leading term 10 log10(1 / (4 sqrt(q^9))) (about 53.6 dB
    // for four coefficients 0.05 wide), and the pass-band ripple of that short design, large enough
    // (about 2e-5 dB) to be read directly, against 10 log10(1 + k1).
    const double q = CHbfDesign::nomeOf(CHbfDesign::selectivity(0.05));
    EXPECT_NEAR(CHbfDesign::predictedAttenuationDb(4, 0.05), -10.0 * std::log10(4.0 * std::pow(q, 4.5)), 0.05);
    CHbfDesign d;
    ASSERT_TRUE(d.design(4, 0.05));
    const double ripple = CHbfDesign::predictedRippleDb(4, 0.05);
    EXPECT_NEAR(CHbfDesign::measuredRippleDb(d.a(), d.b(), 2, 0.05), ripple, 0.02 * ripple);
}

// Every two-branch half-band: 1 at DC, 0 at Nyquist, and 1/sqrt 2 (-3.01 dB, not the -6.02 dB of
// a linear-phase half-band) at a quarter of the rate, where z^2 = -1 turns every section into -1
// and the one-sample delay sets the equal branches a quarter turn apart. The low-pass and its
// complementary output share the power at every frequency.
TEST(CHbfDesignTest, ClosedFormResponseValues) {
    CHbfDesign d;
    ASSERT_TRUE(d.design(10, 1.0 / 12.0));
    const double* a = d.a();
    const double* b = d.b();
    const int32_t n = d.perBranch();
    EXPECT_NEAR(std::abs(CHbfDesign::response(a, b, n, 0.0)), 1.0, 1e-15);
    EXPECT_NEAR(std::abs(CHbfDesign::response(a, b, n, 0.5)), 0.0, 1e-15);
    EXPECT_NEAR(20.0 * std::log10(std::abs(CHbfDesign::response(a, b, n, 0.25))), -10.0 * std::log10(2.0), 1e-12);
    for (int i = 0; i <= 1000; ++i) {
        const double f = 0.5 * i / 1000.0;
        const double lp = std::norm(CHbfDesign::response(a, b, n, f));
        const double hp = std::norm(CHbfDesign::response(a, b, n, f, true));
        EXPECT_NEAR(lp + hp, 1.0, 1e-13) << "f " << f;
        // The complementary output is the low-pass mirrored about a quarter of the rate.
        EXPECT_NEAR(hp, std::norm(CHbfDesign::response(a, b, n, 0.5 - f)), 1e-13) << "f " << f;
    }
}

// The two sets of the shared definitions are these designs (10 coefficients 1/12 wide, 8
// coefficients 1/8 wide), and the bisection finds each width again from its attenuation.
TEST(CHbfDesignTest, ReproducesTheShippedSetsAndTheirWidths) {
    const double a10[] = {0.017201989192148732, 0.143436416471937580, 0.347900769631093840, 0.577350269189625730,
                          0.810517970072601620};
    const double b10[] = {0.066817741883400714, 0.239667767835860080, 0.461816363311925440, 0.693116558427877340,
                          0.933859775291256300};
    const double a8[] = {0.019747343511862459, 0.165764431496057320, 0.410524501083486150, 0.716052980533127600};
    const double b8[] = {0.076874187035829891, 0.279173852149949330, 0.555973057893185520, 0.897254635373222920};
    CHbfDesign d10;
    CHbfDesign d8;
    ASSERT_TRUE(d10.design(10, 1.0 / 12.0));
    ASSERT_TRUE(d8.design(8, 1.0 / 8.0));
    for (int i = 0; i < 5; ++i) {
        EXPECT_NEAR(d10.a()[i], a10[i], 1e-12);
        EXPECT_NEAR(d10.b()[i], b10[i], 1e-12);
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(d8.a()[i], a8[i], 1e-12);
        EXPECT_NEAR(d8.b()[i], b8[i], 1e-12);
    }
    EXPECT_NEAR(CHbfDesign::narrowestTransition(10, CHbfDesign::predictedAttenuationDb(10, 1.0 / 12.0)), 1.0 / 12.0,
                1e-9);
    EXPECT_NEAR(CHbfDesign::narrowestTransition(8, CHbfDesign::predictedAttenuationDb(8, 0.125)), 0.125, 1e-9);

    // Out of range: odd or too many coefficients, widths outside (0, 0.5).
    CHbfDesign bad;
    EXPECT_FALSE(bad.design(9, 0.1));
    EXPECT_FALSE(bad.design(18, 0.1));
    EXPECT_FALSE(bad.design(8, 0.0));
    EXPECT_FALSE(bad.design(8, 0.5));
    EXPECT_EQ(bad.count(), 0);
}
