// The filter generators: the cookbook biquads against their analog prototypes through the
// bilinear transform, the serial and array generators, the shared definitions, and the
// messages of bad definitions.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Filters/CAudioFilterHBFGen.h"
#include "Audio/Filters/CAudioFilterList.h"
#include "Audio/Filters/CAudioFilterRBJGen.h"
#include "Audio/Filters/CAudioFilterRegistration.h"
#include "Audio/Filters/CAudioFilterValues.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CObject.h"
#include "tests/Audio/Filters/CFilterTestSupport.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using namespace orl::test;

namespace {

constexpr double kRate = 48000.0;
using Attrs = std::vector<std::pair<const char*, const char*>>;

// |H(jW)| of the cookbook's analog prototype of a type, with the shelf and peak gain A.
double prototype(int type, double W, double A, double Q) {
    const std::complex<double> s(0.0, W);
    const double r = std::sqrt(A);
    std::complex<double> h;
    switch (type) {
        case 0: h = 1.0 / (s * s + s / Q + 1.0); break;
        case 1: h = s * s / (s * s + s / Q + 1.0); break;
        case 2: h = s / (s * s + s / Q + 1.0); break;
        case 3: h = (s / Q) / (s * s + s / Q + 1.0); break;
        case 4: h = (s * s + 1.0) / (s * s + s / Q + 1.0); break;
        case 5: h = (s * s - s / Q + 1.0) / (s * s + s / Q + 1.0); break;
        case 6: h = (s * s + s * (A / Q) + 1.0) / (s * s + s / (A * Q) + 1.0); break;
        case 7: h = A * (s * s + (r / Q) * s + A) / (A * s * s + (r / Q) * s + 1.0); break;
        case 8: h = A * (A * s * s + (r / Q) * s + 1.0) / (s * s + (r / Q) * s + A); break;
        case 9: h = 1.0 / (s + 1.0); break;
        default: h = s / (s + 1.0); break;
    }
    return std::abs(h);
}

class CAudioFilterGenTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CSignalModules::registerAll());
        // With a shared root in place the objects made here are not shared definitions and
        // stay open for further children.
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        m_root = CObject::newRoot();
    }
    void TearDown() override {
        m_root->destroy();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }

    // A generator below the root; the error's first line, empty on success.
    template <class T>
    std::string make(T*& out, const char* tag, const Attrs& attrs, CObject* parent = nullptr) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        static int serial = 0;
        const std::string name = "g" + std::to_string(++serial);
        return message((parent ? parent : m_root)->createChild(out, CString(tag), CString(name.c_str()), false, &map));
    }
    CAudioFilterRBJGen* rbj(const Attrs& attrs) {
        CAudioFilterRBJGen* g = nullptr;
        EXPECT_EQ(make(g, "audio:fltgen-rbj", attrs), "");
        return g;
    }

    CObject* m_shared = nullptr;
    CObject* m_root = nullptr;
};

CAudioFilterValues values(double freq, double gain, double bw) {
    static const CString kFreq("freq"), kGain("gain"), kBw("bw");
    CAudioFilterValues v;
    v.set(&kFreq, freq);
    v.set(&kGain, gain);
    v.set(&kBw, bw);
    return v;
}

}  // namespace

// Every type, by octaves at the band edges of the analog prototype (w0 / sin(w0) correction),
// by octaves of the digital filter (`is-type2`), by Q, and inverted: the produced biquad's
// |H(e^jw)| equals the prototype's |H(jW)| at W = tan(w/2) / tan(w0/2) (the inverse for
// `is-inverted`), with Q from the bandwidth by 1/Q = 2 sinh(ln(2)/2 * bw [* w0 / sin w0]).
TEST_F(CAudioFilterGenTest, RBJTypesMatchTheirAnalogPrototypes) {
    struct CMode {
        Attrs attrs;
        bool q, type2, inverted;
    };
    const CMode modes[] = {{{}, false, false, false},
                           {{{"is-type2", "true"}}, false, true, false},
                           {{{"is-q", "true"}}, true, false, false},
                           {{{"is-inverted", "true"}}, false, false, true}};
    const double gain = 3.5, bw = 1.3;
    for (int type = 0; type <= 10; ++type) {
        for (const CMode& mode : modes) {
            Attrs attrs = mode.attrs;
            const std::string t = std::to_string(type);
            attrs.push_back({"type", t.c_str()});
            CAudioFilterRBJGen* g = rbj(attrs);
            ASSERT_NE(g, nullptr);
            for (const double f0 : {150.0, 1000.0, 15000.0}) {
                CAudioFilterList list;
                ASSERT_TRUE(g->make(values(f0, gain, bw), kRate, list));
                ASSERT_EQ(list.count(), 1);
                const double w0 = 2.0 * std::numbers::pi * f0 / kRate;
                const double Q = mode.q ? bw
                                        : 1.0 / (2.0 * std::sinh(std::log(2.0) / 2.0 * bw *
                                                                 (mode.type2 ? 1.0 : w0 / std::sin(w0))));
                for (const double f : {20.0, 140.0, 700.0, 1000.0, 2500.0, 9000.0, 15000.0, 21000.0}) {
                    const double w = 2.0 * std::numbers::pi * f / kRate;
                    double want = prototype(type, std::tan(w / 2.0) / std::tan(w0 / 2.0), std::sqrt(gain), Q);
                    if (mode.inverted) want = 1.0 / want;
                    const double got = biquadMagnitude(list[0].coeffs, w);
                    if (!std::isfinite(want)) {  // the inverted notch at its own frequency
                        EXPECT_GT(got, 1e6);
                        continue;
                    }
                    ASSERT_NEAR(got, want, 1e-9 * (1.0 + want)) << "type " << type << " f0 " << f0 << " f " << f;
                }
            }
        }
    }
    // `is-gain-q`: gain is the Q and the filter's own gain is 1.
    CAudioFilterRBJGen* peak = rbj({{"type", "6"}, {"is-gain-q", "true"}});
    CAudioFilterRBJGen* lp = rbj({{"type", "0"}, {"is-gain-q", "true"}});
    CAudioFilterList list;
    ASSERT_TRUE(peak->make(values(1000.0, 4.0, 0.1), kRate, list));
    ASSERT_TRUE(lp->make(values(1000.0, 4.0, 0.1), kRate, list));
    const double w0 = 2.0 * std::numbers::pi * 1000.0 / kRate;
    EXPECT_NEAR(biquadMagnitude(list[0].coeffs, w0), 1.0, 1e-12);
    EXPECT_NEAR(biquadMagnitude(list[1].coeffs, w0), 4.0, 1e-9);  // a low-pass peaks at Q at w0
    // Forms: the fixed numerators where the type has one, the general form when inverted.
    const int forms[] = {1, 2, 3, 3, 4, 0, 0, 0, 0, 0, 0};
    for (int type = 0; type <= 10; ++type) {
        const std::string t = std::to_string(type);
        CAudioFilterList l;
        ASSERT_TRUE(rbj({{"type", t.c_str()}})->make(values(1000.0, 2.0, 1.0), kRate, l));
        ASSERT_TRUE(rbj({{"type", t.c_str()}, {"is-inverted", "true"}})->make(values(1000.0, 2.0, 1.0), kRate, l));
        EXPECT_EQ(l[0].form, forms[type]) << type;
        EXPECT_EQ(l[1].form, 0) << type;
    }
}

// At and beyond the upper frequency limit, with the widest bandwidths, every type keeps its
// poles inside the unit circle (the stability triangle of 1 - c3 z^-1 - c4 z^-2) with margin,
// and anything above the limit gives the filter of the limit.
TEST_F(CAudioFilterGenTest, RBJStaysStableAtTheUpperLimit) {
    for (int type = 0; type <= 10; ++type) {
        for (const char* type2 : {"false", "true"}) {
            const std::string t = std::to_string(type);
            CAudioFilterRBJGen* g = rbj({{"type", t.c_str()}, {"is-type2", type2}});
            for (const double bw : {0.01, 3.2, 10.0}) {
                for (const double gain : {1e-3, 1.0, 1e3}) {
                    CAudioFilterList list;
                    ASSERT_TRUE(g->make(values(0.49 * kRate, gain, bw), kRate, list));
                    ASSERT_TRUE(g->make(values(2.0 * kRate, gain, bw), kRate, list));
                    const double* c = list[0].coeffs;
                    for (int i = 0; i < 5; ++i) {
                        ASSERT_TRUE(std::isfinite(c[i]));
                        EXPECT_EQ(c[i], list[1].coeffs[i]);
                    }
                    EXPECT_LT(std::fabs(c[4]), 1.0 - 1e-7) << type << " bw " << bw << " gain " << gain;
                    EXPECT_LT(std::fabs(c[3]), 1.0 - c[4]) << type << " bw " << bw << " gain " << gain;
                }
            }
        }
    }
}

// The shared definitions: `hislope` makes two high shelves of the same frequency and gain, the
// second with 2.1875 times the bandwidth; with gain 1 both are flat within rounding; the
// half-band array has the two designs by index.
TEST_F(CAudioFilterGenTest, SharedSerialAndArrayDefinitions) {
    CObject* shared = CObject::newRoot();
    ASSERT_EQ(message(shared->loadXMLData(CString("SharedData.xml"), true)), "");
    const auto* hs = dynamic_cast<const CAudioFilterRBJGen*>(shared->findObject(CString("audio.flt.hs_rbj2")));
    const auto* hislope = dynamic_cast<const CAudioFilterGenArray*>(shared->findObject(CString("audio.fltarray.hislope")));
    const auto* hbf = dynamic_cast<const CAudioFilterGenArray*>(shared->findObject(CString("audio.fltarray.hbf-oversample")));
    ASSERT_TRUE(hs && hislope && hbf);
    EXPECT_EQ(hs->type(), 8);
    ASSERT_NE(hislope->find(0), nullptr);
    EXPECT_EQ(hislope->find(1), nullptr);

    CAudioFilterList serial, one, wide;
    ASSERT_TRUE(hislope->find(0)->make(values(700.0, 3.0, 3.2), kRate, serial));
    ASSERT_TRUE(hs->make(values(700.0, 3.0, 3.2), kRate, one));
    ASSERT_TRUE(hs->make(values(700.0, 3.0, 3.2 * 2.1875), kRate, wide));
    ASSERT_EQ(serial.count(), 2);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(serial[0].coeffs[i], one[0].coeffs[i]);
        EXPECT_EQ(serial[1].coeffs[i], wide[0].coeffs[i]);
    }
    // The pair against two prototype shelves: nothing at the bottom, towards twice the shelf
    // gain in dB at the top.
    const double w0 = 2.0 * std::numbers::pi * 700.0 / kRate;
    auto q = [&](double bw) { return 1.0 / (2.0 * std::sinh(std::log(2.0) / 2.0 * bw)); };
    for (const double w : {1e-4, 0.05, 0.3, 1.0, 3.0}) {
        const double W = std::tan(w / 2.0) / std::tan(w0 / 2.0);
        const double want = prototype(8, W, std::sqrt(3.0), q(3.2)) * prototype(8, W, std::sqrt(3.0), q(3.2 * 2.1875));
        EXPECT_NEAR(biquadMagnitude(serial[0].coeffs, w) * biquadMagnitude(serial[1].coeffs, w), want, 1e-9) << w;
    }
    EXPECT_GT(biquadMagnitude(serial[0].coeffs, 3.0) * biquadMagnitude(serial[1].coeffs, 3.0), 8.5);

    CAudioFilterList flat;
    ASSERT_TRUE(hislope->find(0)->make(values(700.0, 1.0, 3.2), kRate, flat));
    for (int k = 0; k < 2; ++k) {
        EXPECT_NEAR(flat[k].coeffs[0], 1.0, 1e-15);
        EXPECT_NEAR(flat[k].coeffs[1], -flat[k].coeffs[3], 1e-15);
        EXPECT_NEAR(flat[k].coeffs[2], -flat[k].coeffs[4], 1e-15);
    }

    CAudioFilterList bands;
    ASSERT_TRUE(hbf->find(0)->make(values(0, 0, 0), kRate, bands));
    ASSERT_TRUE(hbf->find(1)->make(values(0, 0, 0), kRate, bands));
    ASSERT_EQ(bands.count(), 2);
    EXPECT_EQ(bands[0].kind, CAudioFilterDesc::kHalfBand);
    EXPECT_EQ(bands[0].sections, 5);
    EXPECT_EQ(bands[1].sections, 4);
    EXPECT_EQ(bands[0].a[0], 0.017201989192148732);
    EXPECT_EQ(bands[0].b[4], 0.933859775291256300);
    EXPECT_EQ(bands[1].a[3], 0.716052980533127600);
    EXPECT_EQ(bands[1].b[0], 0.076874187035829891);
    shared->destroy();
}

// `adjust-pow` raises a value before `adjust` scales it; a position left empty is untouched.
TEST_F(CAudioFilterGenTest, SerialAdjustmentsByPosition) {
    CObject* flt = nullptr;
    ASSERT_EQ(message(m_root->createChild(flt, CString("core:object"), CString("flt"))), "");
    CAudioFilterRBJGen* base = nullptr;
    ASSERT_EQ(make(base, "audio:fltgen-rbj", {{"type", "6"}}, flt), "");
    CObject* serial = nullptr;
    ASSERT_EQ(make(serial, "audio:fltgen-serial", {}, flt), "");
    const std::string path = "^^" + str(base->baseName());
    CObject* item = nullptr;
    ASSERT_EQ(make(item, "audio:fltgen-serial-item",
                   {{"fltgen", path.c_str()}, {"adjust", "2.0,,0.5"}, {"adjust-pow", ",2"}}, serial),
              "");
    ASSERT_EQ(message(serial->initChilds()), "");
    CAudioFilterList got, want;
    ASSERT_TRUE(dynamic_cast<CAudioFilterGen*>(serial)->make(values(500.0, 3.0, 2.0), kRate, got));
    ASSERT_TRUE(base->make(values(1000.0, 9.0, 1.0), kRate, want));
    ASSERT_EQ(got.count(), 1);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(got[0].coeffs[i], want[0].coeffs[i]);
}

// The messages of bad generator definitions.
TEST_F(CAudioFilterGenTest, BadDefinitionsFailWithTheirMessages) {
    CObject* g = nullptr;
    EXPECT_EQ(make(g, "audio:fltgen-rbj", {{"type", "11"}}), "Invalid filter type '11' specified.");
    EXPECT_EQ(make(g, "audio:fltgen-rbj", {{"type", "-1"}}), "Invalid filter type '-1' specified.");
    EXPECT_EQ(make(g, "audio:fltgen-hbf", {{"b", "0.1"}}), "Not enough 'a' coefficients defined.");
    EXPECT_EQ(make(g, "audio:fltgen-hbf", {{"a", "0.1,x"}, {"b", "0.1,0.2"}}), "Not enough 'a' coefficients defined.");
    EXPECT_EQ(make(g, "audio:fltgen-hbf", {{"a", "0.1"}}), "Not enough 'b' coefficients defined.");
    EXPECT_EQ(make(g, "audio:fltgen-hbf", {{"a", "0.1,0.2"}, {"b", "0.1"}}),
              "Coefficient count should match in 'a' and 'b' coefficient lists.");
    EXPECT_EQ(make(g, "audio:fltgen-hbf", {{"a", "1,2,3,4,5,6,7,8,9"}, {"b", "1,2,3,4,5,6,7,8,9"}}),
              "At most 8 coefficients are supported in each list.");
    EXPECT_EQ(make(g, "audio:fltgen-serial-item", {{"fltgen", "^nothing"}}), "Filter generator '^nothing' not found.");
    EXPECT_EQ(make(g, "audio:fltgen-array-item", {{"fltgen", ""}}), "Filter generator '' not found.");

    CAudioFilterHBFGen* hb = nullptr;
    ASSERT_EQ(make(hb, "audio:fltgen-hbf", {{"a", "0.1, 0.5"}, {"b", "0.2 ,0.6"}}), "");
    EXPECT_EQ(hb->sections(), 2);
    EXPECT_EQ(hb->b()[1], 0.6);
    const std::string path = "^^" + str(hb->baseName());
    CObject* array = nullptr;
    ASSERT_EQ(make(array, "audio:fltgen-array", {}), "");
    ASSERT_EQ(make(g, "audio:fltgen-array-item", {{"index", "3"}, {"fltgen", path.c_str()}}, array), "");
    ASSERT_EQ(make(g, "audio:fltgen-array-item", {{"index", "3"}, {"fltgen", path.c_str()}}, array), "");
    EXPECT_EQ(message(array->initChilds()), "Duplicate index value '3' used in item #2.");
}
