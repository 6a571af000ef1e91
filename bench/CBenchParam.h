#pragma once
#include "Audio/CAudioParamReader.h"

namespace orl {

// A parameter with one value, for modules run without a graph in benchmarks.
class CBenchParam : public CAudioParamReader {
public:
    explicit CBenchParam(double v) : m_value(v) {}
    bool isSingleGroup() const override { return true; }
    bool isSingleElement() const override { return true; }
    int32_t groupCount() const override { return 1; }
    int32_t elementCount(int32_t) const override { return 1; }
    double value(int32_t, int32_t) const override { return m_value; }
    int32_t defaultCount() const override { return 1; }
    double defaultValue(int32_t) const override { return m_value; }

private:
    double m_value;
};

}  // namespace orl
