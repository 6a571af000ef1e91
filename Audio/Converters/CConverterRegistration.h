#pragma once

namespace orl {

// The tags of the value converters: "audio:cvt-gain", "audio:cvt-freq", "audio:cvt-bw",
// "audio:cvt-ratio", "audio:cvt-text", "audio:cvt-real", "audio:cvt-percent",
// "audio:cvt-time", "audio:cvt-enum".
class CConverterRegistration {
public:
    // Registers the tags once; true when they are registered. A static initialiser calls it, and
    // so does the constructor of every converter: the reference keeps the table in a static link
    // of the library.
    static bool ensureCreatorsRegistered();
};

}  // namespace orl
