#pragma once

#include <string_view>

/// A piece of simulation data, known by its type's name.
class SIM_Data {
public:
    virtual ~SIM_Data() = default;
    /// "SIM_Geometry", "SIM_Position", "SIM_Object".
    virtual const char* getDataType() const = 0;
};

/// The data as a T when it is one, else null; `T::dataType` is the type's name.
template <class T> T* SIMcast(SIM_Data* data) {
    return data && std::string_view(data->getDataType()) == T::dataType ? static_cast<T*>(data) : nullptr;
}
template <class T> const T* SIMcast(const SIM_Data* data) { return SIMcast<T>(const_cast<SIM_Data*>(data)); }
