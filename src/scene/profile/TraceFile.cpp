#include "scene/profile/TraceFile.h"

#include "scene/profile/CookProfile.h"

namespace {

// Everything runs on one thread of one process.
constexpr int PROCESS = 1, THREAD = 1;

double microseconds(uint64_t nanoseconds) { return double(nanoseconds) / 1e3; }

std::string nameOf(const ProfileRow& row) {
    const bool node = row.type != "time step" && row.type != "flxnet";
    return node ? row.path.substr(row.path.rfind('/') + 1) : row.type;
}

} // namespace

bool TraceFile::open(const std::string& name, std::string& error) {
    if (!myFile.open(error)) return false;
    myFile.write("{\"displayTimeUnit\":\"ms\",\"traceEvents\":[");
    put([&](JsonStream& json) {
        json.key("ph").text("M").key("name").text("thread_name").key("pid").integer(PROCESS);
        json.key("tid").integer(THREAD).key("args").beginObject().key("name").text(name).endObject();
    });
    return true;
}

void TraceFile::put(const std::function<void(JsonStream&)>& event) {
    myText.str("");
    {
        JsonStream json(myText);
        json.beginObject();
        event(json);
        json.endObject();
    }
    myFile.write(myAny ? ",\n" : "\n");
    myFile.write(myText.view());
    myAny = true;
}

void TraceFile::complete(const std::string& name, const char* category, uint64_t start, uint64_t duration,
                         const std::function<void(JsonStream&)>& args) {
    put([&](JsonStream& json) {
        json.key("ph").text("X").key("name").text(name).key("cat").text(category);
        json.key("ts").number(microseconds(start)).key("dur").number(microseconds(duration));
        json.key("pid").integer(PROCESS).key("tid").integer(THREAD).key("args").beginObject();
        args(json);
        json.endObject();
    });
}

void TraceFile::add(const ProfileEvent& event) {
    complete(nameOf(event.row), "cook", event.start, event.duration, [&](JsonStream& json) {
        json.key("path").text(event.row.path).key("type").text(event.row.type);
        json.key("particles").integer(event.particles);
        json.key("births").integer(event.births).key("deaths").integer(event.deaths);
    });
}

void TraceFile::add(const std::string& name, const char* category, uint64_t start, uint64_t end,
                    std::initializer_list<Number> numbers) {
    complete(name, category, start, end - start, [&](JsonStream& json) {
        for (const Number& number : numbers) json.key(number.name).integer(number.value);
    });
}

bool TraceFile::commit(std::string& error) {
    myFile.write("\n]}\n");
    return myFile.commit(error);
}
