#pragma once

/// What travels down a cook: the time, the data a family of nodes shares (the particle context), the thread (0 = the
/// calling one) and the pass, a serial that makes a node cook once however many nodes ask.
class OP_Context {
public:
    explicit OP_Context(float time)
        : myTime(time) {}

    float getTime() const { return myTime; }
    void* getData() const { return myData; }
    void setData(void* data) { myData = data; }
    int getThread() const { return myThread; }
    void setThread(int thread) { myThread = thread; }
    /// 0 outside a pass: nodes then cook when they are out of date.
    unsigned pass() const { return myPass; }
    void setPass(unsigned pass) { myPass = pass; }

    /// A serial no other pass of the process has.
    static unsigned newPass();

private:
    float myTime;
    void* myData = nullptr;
    int myThread = 0;
    unsigned myPass = 0;
};
