#pragma once

#include "scene/JsonStream.h"
#include "scene/formats/AtomicFile.h"

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>

struct ProfileEvent;

/// Writes a trace in the "trace event" JSON format that browser trace viewers open: {"traceEvents": [...]}, one
/// complete event (ph "X"; ts and dur in microseconds) for everything that had a start and an end. The file appears at
/// commit.
class TraceFile {
public:
    explicit TraceFile(const std::string& path)
        : myFile(path) {}

    /// Starts the file; the name is what the viewer calls the thread. False with a line that names the file.
    bool open(const std::string& name, std::string& error);
    void add(const ProfileEvent& event);
    /// Anything else that took time, with whole numbers for the viewer to show.
    struct Number {
        const char* name;
        long long value;
    };
    void add(const std::string& name, const char* category, uint64_t start, uint64_t end,
             std::initializer_list<Number> numbers);
    /// Ends the array; the file gets its name.
    bool commit(std::string& error);

private:
    /// One event of the list; the writer adds its "args".
    void complete(const std::string& name, const char* category, uint64_t start, uint64_t duration,
                  const std::function<void(JsonStream&)>& args);
    void put(const std::function<void(JsonStream&)>& event);

    AtomicFile myFile;
    std::ostringstream myText;
    bool myAny = false;
};
