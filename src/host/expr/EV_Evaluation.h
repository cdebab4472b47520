#pragma once
#include "host/expr/EV_Borrowed.h"
#include "host/expr/EV_Code.h"
#include "host/vm/VM_Machine.h"
#include "host/vm/VM_RegisterFrame.h"

// One evaluation of an expression: binds it, runs its code, keeps the error number as it was unless this evaluation
// fails.
class EV_Evaluation final : public VM_Host {
public:
    EV_Evaluation(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread);
    ~EV_Evaluation() override;
    EV_Evaluation(const EV_Evaluation&) = delete;
    EV_Evaluation& operator=(const EV_Evaluation&) = delete;

    // False when it failed; the error has been raised.
    bool run();

    EV_Type resultType() const { return myCode->resultType; }
    double result(int component) const { return myRegisters.data()[myCode->program.results[size_t(component)]]; }
    const std::string& stringResult() const { return text(myCode->stringResult); }

    // Raises that the result is not of the type that is needed.
    void failType(EV_Type needed);

    bool callSite(const VM_Instruction& call, double* registers) override;

private:
    bool callFunction(const EV_Site& site, const VM_Site& at, double* r);
    void gather(const EV_Site& site, const VM_Site& at, const double* r, EV_Value* args);
    bool store(const EV_Site& site, const VM_Site& at, EV_Value& value, double* r);
    bool index(const EV_Site& site, const VM_Site& at, double* r);
    bool concat(const EV_Site& site);
    bool choose(const EV_Site& site, bool first);
    bool admit(const EV_Site& site, const std::string& old, size_t bytes);
    bool failVariable(const EV_Site& site);
    bool failCall(const EV_Site& site, const std::string& message);
    bool failAt(const EV_Site& site, int number, const std::string& what);
    const std::string& text(EV_StringRef ref) const;

    EV_EXPRESSION& myExpression;
    EV_Scope& myScope;
    double myTime;
    int myThread;
    EV_ThreadError& myError;
    std::unique_ptr<EV_ThreadError> mySaved; // what stood there before, when that was an error
    bool myIsBound;
    const EV_Code* myCode;
    VM_RegisterFrame myRegisters;
    EV_Borrowed<std::string> myStrings; // the string registers
    size_t myTextBytes = 0;             // in them
};
