// hbfdesign: coefficients of a polyphase IIR half-band low-pass (two allpass branches in z^-2) and
// their measured response. Widths are fractions of the rate the filter runs at; attenuations are
// positive dB.
//   hbfdesign COUNT TRANSITION           design COUNT coefficients for that transition width
//   hbfdesign --solve COUNT ATTENUATION  the narrowest width at which COUNT reaches ATTENUATION,
//                                        then that design
//   hbfdesign --measure TRANSITION A B   measure given comma lists (as in the a="" b="" attributes)
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Tools/hbfdesign/CHbfDesign.h"

namespace {

void usage() {
    std::fprintf(stderr,
                 "usage: hbfdesign COUNT TRANSITION\n"
                 "       hbfdesign --solve COUNT ATTENUATION_DB\n"
                 "       hbfdesign --measure TRANSITION A_LIST B_LIST\n"
                 "COUNT is even, 2 to %d; TRANSITION is a fraction of the rate, 0 < t < 0.5 (\"1/12\" allowed).\n",
                 orl::CHbfDesign::kMaxCount);
}

bool parseDouble(const char* text, double& out) {
    char* end = nullptr;
    out = std::strtod(text, &end);
    return end != text && *end == '\0';
}

// A number or a fraction ("1/12"), so that a width named by its fraction is exact.
bool parseWidth(const char* text, double& out) {
    const std::string s(text);
    const size_t slash = s.find('/');
    if (slash == std::string::npos) return parseDouble(text, out);
    double num = 0.0;
    double den = 0.0;
    if (!parseDouble(s.substr(0, slash).c_str(), num) || !parseDouble(s.substr(slash + 1).c_str(), den) || den == 0.0) {
        return false;
    }
    out = num / den;
    return true;
}

bool parseCount(const char* text, int32_t& out) {
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || v < 2 || v > orl::CHbfDesign::kMaxCount || (v & 1) != 0) return false;
    out = static_cast<int32_t>(v);
    return true;
}

bool parseList(const char* text, std::vector<double>& out) {
    std::string s(text);
    size_t start = 0;
    while (start <= s.size()) {
        const size_t comma = s.find(',', start);
        const std::string piece = s.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        double v = 0.0;
        if (!parseDouble(piece.c_str(), v)) return false;
        out.push_back(v);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return !out.empty() && out.size() <= orl::CHbfDesign::kMaxPerBranch;
}

void printList(const char* name, const double* v, int32_t n) {
    std::printf("%s=\"", name);
    for (int32_t i = 0; i < n; ++i) std::printf("%s%.17g", i ? "," : "", v[i]);
    std::printf("\"");
}

void printMeasured(const double* a, const double* b, int32_t perBranch, double transition) {
    using orl::CHbfDesign;
    std::printf("transition width:             %.6f of the rate (pass band to %.6f, stop band from %.6f)\n",
                transition, 0.25 - 0.5 * transition, 0.25 + 0.5 * transition);
    std::printf("measured stop-band attenuation: %.3f dB\n",
                CHbfDesign::measuredAttenuationDb(a, b, perBranch, transition));
    std::printf("measured pass-band ripple:      %.3g dB direct, %.3g dB from the complementary output\n",
                CHbfDesign::measuredRippleDb(a, b, perBranch, transition),
                CHbfDesign::measuredRippleViaComplementDb(a, b, perBranch, transition));
}

int printDesign(int32_t count, double transition) {
    using orl::CHbfDesign;
    CHbfDesign d;
    if (!d.design(count, transition)) {
        usage();
        return 2;
    }
    std::printf("count %d, k = %.17g, q = %.17g\n", count, d.k(), d.q());
    printList("a", d.a(), d.perBranch());
    std::printf(" ");
    printList("b", d.b(), d.perBranch());
    std::printf("\n");
    printMeasured(d.a(), d.b(), d.perBranch(), transition);
    std::printf("predicted stop-band attenuation: %.3f dB, pass-band ripple %.3g dB\n",
                CHbfDesign::predictedAttenuationDb(count, transition),
                CHbfDesign::predictedRippleDb(count, transition));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    using orl::CHbfDesign;
    if (argc == 3) {
        int32_t count = 0;
        double transition = 0.0;
        if (!parseCount(argv[1], count) || !parseWidth(argv[2], transition)) {
            usage();
            return 2;
        }
        return printDesign(count, transition);
    }
    if (argc == 4 && std::string(argv[1]) == "--solve") {
        int32_t count = 0;
        double target = 0.0;
        if (!parseCount(argv[2], count) || !parseDouble(argv[3], target)) {
            usage();
            return 2;
        }
        const double t = CHbfDesign::narrowestTransition(count, target);
        if (std::isnan(t)) {
            std::fprintf(stderr, "hbfdesign: %d coefficients cannot reach %.3f dB\n", count, target);
            return 1;
        }
        std::printf("narrowest transition for %.3f dB with %d coefficients: %.9f\n", target, count, t);
        return printDesign(count, t);
    }
    if (argc == 5 && std::string(argv[1]) == "--measure") {
        double transition = 0.0;
        std::vector<double> a;
        std::vector<double> b;
        if (!parseWidth(argv[2], transition) || !(transition > 0.0 && transition < 0.5) ||
            !parseList(argv[3], a) || !parseList(argv[4], b) || a.size() != b.size()) {
            usage();
            return 2;
        }
        printMeasured(a.data(), b.data(), static_cast<int32_t>(a.size()), transition);
        return 0;
    }
    usage();
    return 2;
}
