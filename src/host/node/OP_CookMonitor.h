#pragma once

class OP_Node;

/// Is told of the cooks of every node on the threads where it is installed, to measure them for example.
class OP_CookMonitor {
public:
    virtual ~OP_CookMonitor() = default;
    virtual void cookBegins(OP_Node& node) = 0;
    /// One for every cookBegins, the innermost first, whatever became of the cook.
    virtual void cookEnds(OP_Node& node) = 0;

    /// The calling thread's; null when nobody asked.
    static OP_CookMonitor* current();
};

/// Installs a monitor (null: none) on the calling thread for a scope.
class OP_MonitorScope {
public:
    explicit OP_MonitorScope(OP_CookMonitor* monitor);
    ~OP_MonitorScope();
    OP_MonitorScope(const OP_MonitorScope&) = delete;
    OP_MonitorScope& operator=(const OP_MonitorScope&) = delete;

private:
    OP_CookMonitor* myOuter;
};

/// A node's cook, told to the thread's monitor when there is one.
class OP_MonitoredCook {
public:
    explicit OP_MonitoredCook(OP_Node& node)
        : myMonitor(OP_CookMonitor::current())
        , myNode(node) {
        if (myMonitor) myMonitor->cookBegins(node);
    }
    ~OP_MonitoredCook() {
        if (myMonitor) myMonitor->cookEnds(myNode);
    }
    OP_MonitoredCook(const OP_MonitoredCook&) = delete;
    OP_MonitoredCook& operator=(const OP_MonitoredCook&) = delete;

private:
    OP_CookMonitor* myMonitor;
    OP_Node& myNode;
};
