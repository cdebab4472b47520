#include "scene/JsonStream.h"

void JsonStream::separate() {
    if (myAfterKey) {
        myAfterKey = false;
        return;
    }
    if (myStarted.empty()) return;
    if (myStarted.back()) myBuffer += ',';
    myStarted.back() = true;
}

JsonStream& JsonStream::key(std::string_view name) {
    separate();
    JsonText::string(myBuffer, name);
    myBuffer += ':';
    myAfterKey = true;
    return *this;
}

JsonStream& JsonStream::begin(char bracket) {
    separate();
    myBuffer += bracket;
    myStarted.push_back(false);
    return *this;
}

JsonStream& JsonStream::end(char bracket) {
    myBuffer += bracket;
    myStarted.pop_back();
    return *this;
}

JsonStream& JsonStream::newline() {
    myBuffer += '\n';
    return *this;
}

void JsonStream::flush() {
    myOut.write(myBuffer.data(), std::streamsize(myBuffer.size()));
    myBuffer.clear();
}
