#include "ToolFixture.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& path) {
    std::ostringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

void redirect(const char* file, int descriptor) {
    const int to = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (to < 0 || dup2(to, descriptor) < 0) _exit(126);
}

} // namespace

std::vector<nlohmann::json> ToolResult::lines() const {
    std::vector<nlohmann::json> parsed;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) parsed.push_back(nlohmann::json::parse(line));
    return parsed;
}

ToolTest::ToolTest() {
    std::string name = (fs::temp_directory_path() / "flx-app-XXXXXX").string();
    if (!mkdtemp(name.data())) std::abort();
    myFolder = name;
}

ToolTest::~ToolTest() {
    std::error_code ignored;
    fs::remove_all(myFolder, ignored);
    fs::remove(myFolder.string() + ".out", ignored);
    fs::remove(myFolder.string() + ".err", ignored);
}

void ToolTest::put(const std::string& name, const std::string& text) const {
    myOwn.push_back(name);
    std::ofstream(myFolder / name, std::ios::binary) << text;
}

int ToolTest::start(const std::vector<std::string>& arguments, size_t memory, const std::string& output) const {
    std::vector<char*> words{const_cast<char*>("flx")};
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const std::string out = output.empty() ? myFolder.string() + ".out" : output, err = myFolder.string() + ".err";
    const int process = fork();
    if (process != 0) return process;
    redirect(out.c_str(), STDOUT_FILENO);
    redirect(err.c_str(), STDERR_FILENO);
    const rlimit limit{memory, memory};
    if (chdir(myFolder.c_str()) != 0 || (memory && setrlimit(RLIMIT_AS, &limit) != 0)) _exit(126);
    execv(FLX_TOOL, words.data());
    _exit(127);
}

ToolResult ToolTest::finish(int process) const {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(myFolder.string() + ".out"),
            contents(myFolder.string() + ".err")};
}

ToolResult ToolTest::flx(const std::vector<std::string>& arguments, size_t memory, const std::string& out) const {
    return finish(start(arguments, memory, out));
}

ToolResult ToolTest::interruptWhenThere(const std::string& file, const std::vector<std::string>& arguments) const {
    const int process = start(arguments, 0, "");
    siginfo_t ended{};
    while (!fs::exists(myFolder / file) && ended.si_pid == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        waitid(P_PID, id_t(process), &ended, WEXITED | WNOHANG | WNOWAIT);
    }
    kill(process, SIGINT);
    return finish(process);
}

std::vector<std::string> ToolTest::appeared() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(myFolder)) {
        const std::string name = fs::relative(entry.path(), myFolder).string();
        if (!entry.is_directory() && std::find(myOwn.begin(), myOwn.end(), name) == myOwn.end()) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
