#include "Other/CParamChangeWire.h"

#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamData.h"
#include "Audio/CAudioParamDataItem.h"
#include "Audio/CAudioParamInfo.h"
#include "Core/CError.h"
#include "Core/CInputStream.h"
#include "Core/CMap.h"
#include "Core/COutputStream.h"

namespace orl {

CError* CParamChangeWire::write(COutputStream& out, const CAudioParamChange& record) {
    const int32_t n = record.numberCount();
    CError* err = out.writeInt32(record.group);
    if (!err) err = out.writeInt32(record.start);
    if (!err) err = out.writeInt32(record.count);
    if (!err) err = out.writeUInt32(record.tail ? 1u : 0u);
    if (!err) err = out.writeInt32(record.elementSize);
    if (!err) err = out.writeInt32(record.dataType);
    if (!err) err = out.writeUInt32(record.singleGroup ? 1u : 0u);
    if (!err) err = out.writeUInt32(record.singleElement ? 1u : 0u);
    if (err) return ORL_PASS(err, CString::empty());

    if (record.dataType == CAudioParamInfo::kNumeric) {
        for (int32_t i = 0; i < n; ++i) {
            if (CError* e = out.writeDouble(record.numbers ? record.numbers[i] : 0.0)) return ORL_PASS(e, CString::empty());
        }
        return nullptr;
    }

    // The items named, each once, under new ids in order of first use; 0 stands for "no item".
    CAudioParamData table;
    CMap<int32_t, int32_t> renumbered;
    CArray<int32_t> order;
    for (int32_t i = 0; i < n; ++i) {
        int32_t id = 0;
        const CAudioParamDataItem* item = nullptr;
        if (record.numbers && record.data && CAudioParamData::idOf(record.numbers[i], id)) item = record.data->findItem(id);
        uint32_t wireId = 0;
        if (item) {
            auto it = renumbered.find(id);
            if (it == renumbered.end()) {
                const int32_t fresh = table.addCopy(*item);
                it = renumbered.emplace(id, fresh).first;
                order.add(fresh);
            }
            wireId = static_cast<uint32_t>(it->second);
        }
        if (CError* e = out.writeUInt32(wireId)) return ORL_PASS(e, CString::empty());
    }
    if (CError* e = table.save(out, order)) return ORL_PASS(e, CString::empty());
    return nullptr;
}

CError* CParamChangeWire::read(CInputStream& in, CAudioParamChange& record, const void* source) {
    int32_t group = 0, start = 0, count = 0, elementSize = 0, dataType = 0;
    uint32_t tail = 0, singleGroup = 0, singleElement = 0;
    CError* err = in.readInt32(group);
    if (!err) err = in.readInt32(start);
    if (!err) err = in.readInt32(count);
    if (!err) err = in.readUInt32(tail);
    if (!err) err = in.readInt32(elementSize);
    if (!err) err = in.readInt32(dataType);
    if (!err) err = in.readUInt32(singleGroup);
    if (!err) err = in.readUInt32(singleElement);
    if (err) return ORL_PASS(err, CString::empty());
    if (count < 0 || elementSize < 0 || start < 0 ||
        (elementSize > 0 && count > kMaxNumbers / elementSize)) {
        return ORL_ERROR(nullptr, CString::empty(),
                         "@orlstr_CParamChangeWire_read_BadLayout Invalid change record layout (count %1, element size %2).",
                         CString::fromInt(count), CString::fromInt(elementSize));
    }
    record.group = group;
    record.start = start;
    record.count = count;
    record.tail = tail != 0;
    record.elementSize = elementSize;
    record.dataType = dataType;
    record.singleGroup = singleGroup != 0;
    record.singleElement = singleElement != 0;
    record.source = source;
    record.clearOwnNumbers();
    record.data = nullptr;

    const int32_t n = record.numberCount();
    if (dataType == CAudioParamInfo::kNumeric) {
        for (int32_t i = 0; i < n; ++i) {
            double v = 0.0;
            if (CError* e = in.readDouble(v)) return ORL_PASS(e, CString::empty());
            record.addNumber(v);
        }
        return nullptr;
    }
    for (int32_t i = 0; i < n; ++i) {
        uint32_t id = 0;
        if (CError* e = in.readUInt32(id)) return ORL_PASS(e, CString::empty());
        record.addNumber(static_cast<double>(id));
    }
    if (CError* e = record.ownData().load(in)) return ORL_PASS(e, CString::empty());
    return nullptr;
}

}  // namespace orl
