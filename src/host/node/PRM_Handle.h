#pragma once

#include <array>

#include "host/node/OP_Parameters.h"
#include "host/node/PRM_Template.h"

/// Parameters are declared once, as members of the node class:
///
///     Float SCALE{this, shared::fullScale, 1};
///     Floats<3> FORCE{this, {"force", "Force"}, {0, 0, 0}, enable::empty("forcepath")};
///
/// The first construction of a class (its prototype) records one PRM_Template row per handle, in declaration order;
/// every later construction only counts. A handle is the row's index and its owner: it holds no value, so it is never
/// stale.
///
/// Options follow the default in any order: a PRM_Range, a PRM_EnableRule, a PRM_ChoiceList pointer, a PRM_StringKind,
/// a PRM_Callback, PRM_Static (read at time 0 only), a PRM_Needed, and what its expressions find in local variables:
/// PRM_PerElement, PRM_OncePerCook, PRM_NoVariables. All but numbers are once per cook unless told otherwise.
struct PRM_StaticTag {};
inline constexpr PRM_StaticTag PRM_Static{};
inline constexpr PRM_Variables PRM_PerElement = PRM_Variables::PerElement;
inline constexpr PRM_Variables PRM_OncePerCook = PRM_Variables::OncePerCook;
inline constexpr PRM_Variables PRM_NoVariables = PRM_Variables::Refused;
/// A string without which its operator fails where the rule holds.
struct PRM_Needed {
    PRM_EnableRule rule;
};

/// Options that the folder and multi-instance handles below pass.
struct PRM_FolderSet {
    std::vector<std::pair<std::string, int>> folders;
    bool hasValue;
};
struct PRM_InstanceRows {
    std::vector<PRM_Template> rows;
};

class PRM_Handle {
public:
    PRM_Handle(const PRM_Handle&) = delete;
    PRM_Handle& operator=(const PRM_Handle&) = delete;

    int index() const { return myIndex; }
    const char* token() const { return myOwner->parmTemplate(myIndex).token.c_str(); }
    OP_Parameters* owner() const { return myOwner; }
    /// The (first) value is a plain number: every reading gives the same and has no effect.
    bool isTyped() const { return myOwner->isTyped(myIndex, 0); }

protected:
    template <class... Options>
    PRM_Handle(OP_Parameters* owner, PRM_Type type, int size, const PRM_Name& name, const PRM_Default* defaults,
               const Options&... options)
        : myOwner(owner) {
        PRM_Template* row = nullptr;
        myIndex = owner->declareParm(row);
        if (!row) return;
        row->type = type;
        row->size = size;
        row->token = name.token;
        row->label = name.label;
        row->defaults.assign(defaults, defaults + size);
        row->animated = type == PRM_Type::Float || type == PRM_Type::Int;
        if (!row->animated) row->variables = PRM_OncePerCook;
        (apply(*row, options), ...);
    }

    OP_Parameters* myOwner;
    int myIndex;

private:
    static void apply(PRM_Template& row, const PRM_Range& range) { row.range = range, row.hasRange = true; }
    static void apply(PRM_Template& row, const PRM_EnableRule& rule) { row.enable = rule; }
    static void apply(PRM_Template& row, const PRM_ChoiceList* menu) { row.menu = menu; }
    static void apply(PRM_Template& row, PRM_StringKind kind) {
        row.stringKind = kind;
        if (kind == PRM_StringKind::VectorExpression) row.variables = PRM_PerElement;
    }
    static void apply(PRM_Template& row, PRM_Callback callback) { row.callback = callback; }
    static void apply(PRM_Template& row, PRM_StaticTag) { row.animated = false; }
    static void apply(PRM_Template& row, PRM_Variables variables) { row.variables = variables; }
    static void apply(PRM_Template& row, const PRM_Needed& needed) { row.needed = needed.rule; }
    static void apply(PRM_Template& row, const PRM_FolderSet& set) {
        row.folders = set.folders, row.folderValue = set.hasValue;
    }
    static void apply(PRM_Template& row, const PRM_InstanceRows& instance) { row.instance = instance.rows; }
};

/// A number evaluated as float. `P(t)` evaluates it at time t.
class PRM_Float : public PRM_Handle {
public:
    using value_type = float;

    template <class... Options>
    PRM_Float(OP_Parameters* owner, const PRM_Name& name, PRM_Default def, const Options&... options)
        : PRM_Handle(owner, PRM_Type::Float, 1, name, &def, options...) {}

    float operator()(float t) const { return myOwner->evalFloat(myIndex, 0, t); }
};

/// One component of a vector parameter.
struct PRM_FloatComponent {
    using value_type = float;

    OP_Parameters* parms;
    int parm;
    int component;

    float operator()(float t) const { return parms->evalFloat(parm, component, t); }
    OP_Parameters* owner() const { return parms; }
    int index() const { return parm; }
};

/// N numbers evaluated as floats. `P.x(t)`, `P.y(t)`, … evaluate one; `P[i]` names one.
template <int N> class PRM_Floats : public PRM_Handle {
public:
    template <class... Options>
    PRM_Floats(OP_Parameters* owner, const PRM_Name& name, const std::array<PRM_Default, N>& defaults,
               const Options&... options)
        : PRM_Handle(owner, PRM_Type::Float, N, name, defaults.data(), options...) {}

    PRM_FloatComponent operator[](int component) const { return {myOwner, myIndex, component}; }
    float x(float t) const { return (*this)[0](t); }
    float y(float t) const { return (*this)[1](t); }
    float z(float t) const { return (*this)[2](t); }
};

/// A number evaluated as int: truncated toward zero, saturated, NaN is 0. `P(t)` evaluates it.
class PRM_Int : public PRM_Handle {
public:
    using value_type = int;

    template <class... Options>
    PRM_Int(OP_Parameters* owner, const PRM_Name& name, PRM_Default def, const Options&... options)
        : PRM_Handle(owner, PRM_Type::Int, 1, name, &def, options...) {}

    int operator()(float t) const { return myOwner->evalInt(myIndex, 0, t); }

protected:
    template <class... Options>
    PRM_Int(PRM_Type type, OP_Parameters* owner, const PRM_Name& name, PRM_Default def, const Options&... options)
        : PRM_Handle(owner, type, 1, name, &def, options...) {}
};

/// On or off, read at time 0 unless a time is given.
class PRM_Toggle : public PRM_Int {
public:
    template <class... Options>
    PRM_Toggle(OP_Parameters* owner, const PRM_Name& name, bool def, const Options&... options)
        : PRM_Int(PRM_Type::Toggle, owner, name, PRM_Default(def ? 1.0 : 0.0), options...) {}

    bool operator()(float t = 0) const { return PRM_Int::operator()(t) != 0; }
};

/// An ordinal menu, read at time 0 unless a time is given.
class PRM_Menu : public PRM_Int {
public:
    template <class... Options>
    PRM_Menu(OP_Parameters* owner, const PRM_Name& name, int def, const PRM_ChoiceList* menu, const Options&... options)
        : PRM_Int(PRM_Type::Menu, owner, name, PRM_Default(double(def)), menu, options...) {}

    int operator()(float t = 0) const { return PRM_Int::operator()(t); }
};

/// A string, expanded when it is read. `raw()` is the text as it was set.
class PRM_Text : public PRM_Handle {
public:
    template <class... Options>
    PRM_Text(OP_Parameters* owner, const PRM_Name& name, const char* def, const Options&... options)
        : PRM_Handle(owner, PRM_Type::String, 1, name, defaultOf(def).data(), options...) {}

    UT_String operator()(float t = 0) const { return myOwner->evalString(myIndex, t); }
    UT_String raw() const { return myOwner->evalStringRaw(myIndex); }

private:
    static std::array<PRM_Default, 1> defaultOf(const char* text) { return {PRM_Default(text)}; }
};

/// A folder set: labels and the number of rows below each, in order. Has no value unless made by `withValue`.
class PRM_Folders : public PRM_Handle {
public:
    PRM_Folders(OP_Parameters* owner, std::initializer_list<std::pair<const char*, int>> folders,
                const PRM_Name& name = {"switcher", ""}, bool hasValue = false);

    int operator()(float t = 0) const { return myOwner->evalInt(myIndex, 0, t); }
};

/// A parameter whose value is a number of instances, each with the rows of `instance` ('#' in tokens is the instance
/// number, from 1). Instance values are read by name: evalFloat("weight2", 0, t).
class PRM_Multi : public PRM_Handle {
public:
    PRM_Multi(OP_Parameters* owner, const PRM_Name& name, int def, std::vector<PRM_Template> instance);

    int operator()() const { return myOwner->evalInt(myIndex, 0, 0); }

private:
    PRM_Multi(OP_Parameters* owner, const PRM_Name& name, PRM_Default def, const PRM_InstanceRows& instance)
        : PRM_Handle(owner, PRM_Type::Multi, 1, name, &def, instance) {}
};

/// A button, or with a menu a list of actions: the callback gets the entry's ordinal as its index.
class PRM_Button : public PRM_Handle {
public:
    PRM_Button(OP_Parameters* owner, const PRM_Name& name, PRM_Callback callback, const PRM_ChoiceList* menu = nullptr);
};
