#include "ops/birth/flx_SrcAttribDict.h"

void flx_SrcAttribDict::update(const GU_Detail& detail) {
    myEntries.clear();
    for (const auto& attrib : detail.pointAttribs())
        myEntries.push_back({attrib->getName(), attrib->getSize(), attrib->getType(), attrib->indexStrings()});
    myDataId = detail.dataId();
    myChangeCount = detail.getChangeCount();
    myLayoutSerial = detail.layoutSerial();
}

bool flx_SrcAttribDict::matches(const GU_Detail& detail) const {
    if (detail.dataId() == myDataId && detail.getChangeCount() == myChangeCount &&
        detail.layoutSerial() == myLayoutSerial)
        return true;
    const GB_AttributeDict& attribs = detail.pointAttribs();
    if (attribs.entries() != myEntries.size()) return false;
    for (size_t i = 0; i < myEntries.size(); ++i)
        if (!attribs[i]->is(myEntries[i].name, myEntries[i].size, myEntries[i].type) ||
            attribs[i]->indexStrings() != myEntries[i].strings)
            return false;
    return true;
}
