#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "host/sim/SIM_Data.h"

class OBJ_Node;
class SIM_Geometry;
class SIM_Position;

/// An object of a simulation: named data ("Geometry", "Position", ...) and the scene object it stands for.
class SIM_Object final : public SIM_Data {
public:
    static constexpr const char* dataType = "SIM_Object";
    const char* getDataType() const override { return dataType; }

    /// Replaces the data of that name; null removes it.
    void setData(const std::string& name, std::shared_ptr<SIM_Data> data);
    SIM_Data* getData(std::string_view name) const; ///< null when there is none

    /// The data named "Geometry" ("Position"), null when missing or of another type.
    const SIM_Geometry* getGeometry() const;
    const SIM_Position* getPosition() const;

    void setObjectNode(const OBJ_Node* node);
    /// Null when none was set, or it is gone.
    OBJ_Node* getObjectNode() const;

private:
    std::map<std::string, std::shared_ptr<SIM_Data>, std::less<>> myData;
    int myNode = 0; // unique id
};
