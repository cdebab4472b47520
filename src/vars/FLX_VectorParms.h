#pragma once

#include "vars/FLX_ParticleCook.h"

/// A vector written as one expression: a constant of the cook, or evaluated per particle. What `FLX_Chosen` is for
/// numbers.
class FLX_ChosenExpression {
public:
    using value_type = UT_Vector3;

    /// `expression` belongs to the parameter `token` of `op`, and must not change while this is in use.
    FLX_ChosenExpression(FLX_LocalVar& op, EV_EXPRESSION& expression, const char* token, const FLX_ParticleCook& cook)
        : myOperator(&op)
        , myExpression(&expression)
        , myToken(token)
        , myThread(cook.thread())
        , myVaries(op.isVarDependent(cook.context().peekDetail(), &expression, cook.thread()) != 0) {
        if (!myVaries) myConstant = evaluate();
    }

    bool varies() const { return myVaries; }
    const UT_Vector3& constant() const { return myConstant; }
    UT_Vector3 operator()() const { return myVaries ? evaluate() : myConstant; }
    /// Posts what is wrong with the text itself, which without a particle nothing would tell.
    void reportFaults() const {
        if (!myExpression->bind(myOperator->scope()) || myExpression->resultType() == EV_STRING) evaluate();
    }

private:
    UT_Vector3 evaluate() const {
        EV_clearError(myThread); // of another parameter, or of the particle before
        float x, y, z;
        myOperator->evalVector(myExpression, x, y, z, myThread, myToken);
        return {x, y, z};
    }

    FLX_LocalVar* myOperator;
    EV_EXPRESSION* myExpression;
    const char* myToken;
    int myThread;
    bool myVaries;
    UT_Vector3 myConstant{0, 0, 0};
};

extern const PRM_ChoiceList FLXvectorTypeMenu;

/// A vector that the user writes as one expression or as three components: a menu that says which, the expression as a
/// raw string, the components.
class FLX_VectorParms {
public:
    enum Type { Vector = 0, Components = 1 };
    struct Text {
        const char* token;
        const char* expression;
    };

    FLX_VectorParms(FLX_LocalVar* owner, const PRM_Name& type, const Text& text, const PRM_Name& components,
                    const std::array<PRM_Default, 3>& defaults)
        : TYPE(owner, type, Components, &FLXvectorTypeMenu)
        , TEXT(owner, {text.token, ""}, text.expression, PRM_StringKind::VectorExpression)
        , COMPONENTS(owner, components, defaults)
        , myOwner(*owner) {}

    /// Calls use(source) with what the menu selects, found to be constant or per particle.
    template <class Use> void choose(const FLX_ParticleCook& cook, Use&& use) {
        if (TYPE() != Vector) return use(cook.choose(COMPONENTS));
        const FLX_ChosenExpression chosen = chooseExpression(cook);
        use(chosen);
        chosen.reportFaults();
    }

    PRM_Menu TYPE;
    PRM_Text TEXT;
    PRM_Floats<3> COMPONENTS;

private:
    FLX_ChosenExpression chooseExpression(const FLX_ParticleCook& cook) {
        ev_ChangeExpr(&myExpression, TEXT.raw().c_str());
        return {myOwner, myExpression, TEXT.token(), cook};
    }

    FLX_LocalVar& myOwner;
    EV_EXPRESSION myExpression{"", 3};
};
