#include "host/node/PRM_Template.h"

#include <limits>
#include <set>

#include "host/expr/EV_Number.h"
#include "host/ut/UT_Lock.h"
#include "host/vm/VM_Kernels.h"

namespace {

// Written so that NaN ends at a hard bound, too.
double clamped(double value, const PRM_Range& range) {
    if (range.minKind == PRM_RangeKind::Hard && !(value >= range.min)) return range.min;
    if (range.maxKind == PRM_RangeKind::Hard && !(value <= range.max)) return range.max;
    return value;
}

// The sign of a NaN depends on the compiler.
double plainNaN(double value) { return value != value ? std::numeric_limits<double>::quiet_NaN() : value; }

} // namespace

double PRM_Template::number(double value) const {
    if (type != PRM_Type::Float) value = EV_toInt(value);
    return plainNaN(hasRange ? clamped(value, range) : value);
}

static bool isHard(const PRM_Range& range) {
    return range.minKind == PRM_RangeKind::Hard || range.maxKind == PRM_RangeKind::Hard;
}

bool PRM_Template::replacesNaN(double value) const {
    return value != value && type == PRM_Type::Float && hasRange && isHard(range);
}

bool PRM_Template::numbers(const double* values, float* out, int n) const {
    unsigned numNaN = 0;
    if (type != PRM_Type::Float) {
        for (int k = 0; k < n; ++k) out[k] = float(number(values[k]));
    } else if (hasRange && isHard(range)) {
        for (int k = 0; k < n; ++k) {
            numNaN += values[k] != values[k] ? 1u : 0u;
            out[k] = float(clamped(values[k], range));
        }
    } else {
        VM_roundToFloats(values, out, n);
    }
    return numNaN > 0;
}

bool PRM_Template::numbers(const double* values, int* out, int n) const {
    unsigned numNaN = 0;
    for (int k = 0; k < n; ++k) {
        numNaN += replacesNaN(values[k]) ? 1u : 0u;
        out[k] = EV_toInt(number(values[k]));
    }
    return numNaN > 0;
}

int PRM_TemplateTable::find(const std::string& token) const {
    for (size_t i = 0; i < rows.size(); ++i)
        if (rows[i].token == token) return int(i);
    return -1;
}

const char* PRMpermanentText(std::string_view text) {
    static UT_Lock theLock;
    static std::set<std::string, std::less<>> theTexts;
    UT_AutoLock lock(theLock);
    auto found = theTexts.find(text);
    if (found == theTexts.end()) found = theTexts.emplace(text).first;
    return found->c_str();
}

PRM_TemplateTable PRMstringTable(std::initializer_list<PRM_Name> names) {
    PRM_TemplateTable table;
    for (const PRM_Name& name : names) {
        PRM_Template& row = table.rows.emplace_back();
        row.type = PRM_Type::String;
        row.token = name.token;
        row.label = name.label;
        row.defaults.assign(1, PRM_Default(""));
        row.animated = false;
    }
    return table;
}
