#include "host/expr/EV_Columns.h"
#include "host/expr/EV_ColumnGraph.h"

EV_Columns::EV_Columns(const EV_ColumnList& list)
    : myKey(list.key()) {
    EV_ColumnGraph graph(list);
    VM_Program program;
    graph.build(myInputs, program);
    myInputRegisters = program.sites[0].writes;
    size_t at = 0;
    for (const EV_ColumnGraph::Value result : graph.results())
        myResults.push_back(result < 0 ? Result{true, graph.numberOf(result), 0}
                                       : Result{false, 0, program.results[at++]});
    myNumInstructions = program.code.size() - 2; // but for the one that stands for the inputs, and the end
    myRun = VM_ColumnRun(program);
}

std::shared_ptr<EV_Columns> EV_ColumnShelf::take(const EV_ColumnList& list) {
    for (const std::shared_ptr<EV_Columns>& kept : myKept)
        if (kept.use_count() == 1 && kept->isFor(list)) return kept;
    auto columns = std::make_shared<EV_Columns>(list);
    if (myKept.size() < MOST)
        myKept.push_back(columns);
    else
        myKept.back() = columns; // what comes every time stays; a list with the time in it is another at each cook
    return columns;
}
