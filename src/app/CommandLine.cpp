#include "app/Commands.h"
#include "scene/SceneError.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace {

[[noreturn]] void refuse(const CLI::App& command, const std::string& what) {
    const std::string name = command.get_parent() ? "flx " + command.get_name() : "flx";
    throw Failure{ExitStatus::BAD_USAGE, fmt::format("{}: {} (see {} --help)", name, what, name)};
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

/// What follows "--" is no option, whatever it starts with.
void refuseExtras(const CLI::App& command) {
    const std::vector<std::string> extras = command.remaining();
    const auto separator = std::find(extras.begin(), extras.end(), "--");
    for (auto extra = extras.begin(); extra != separator; ++extra)
        if (extra->size() > 1 && (*extra)[0] == '-') {
            const std::string name = extra->substr(0, extra->find('='));
            refuse(command, fmt::format("unknown option \"{}\"{}", name, didYouMean(name, optionNames(command))));
        }
    for (auto extra = extras.begin(); extra != extras.end(); ++extra)
        if (extra != separator) refuse(command, fmt::format("one argument too many: \"{}\"", *extra));
}

/// "--profile-json --quiet" takes no option for a value; "--profile-json=--quiet" does.
void refuseOptionAsValue(const CLI::App& command, const std::vector<std::string>& arguments) {
    for (size_t i = 0; i + 1 < arguments.size() && arguments[i] != "--"; ++i) {
        const std::string &name = arguments[i], &next = arguments[i + 1];
        const CLI::Option* option = name.starts_with("--") ? command.get_option_no_throw(name) : nullptr;
        if (!option || option->get_items_expected_min() == 0) continue; // none, or a flag
        if (next.starts_with("--"))
            refuse(command, fmt::format("{} expects a value, found \"{}\"; write {}={} if that is the value", name,
                                        next, name, next));
        ++i;
    }
}

class Parser {
public:
    Parser() {
        // Left-over arguments are looked at below, where the nearest name is known.
        myApp.require_subcommand(0, 1);
        myApp.allow_extras();
        addRun(command("run", "Simulate a scene and write geometry"));
        addDump(command("dump", "Print the state of one network at one frame as JSON"));
        addCheck(command("check", "Say what is wrong with a scene"));
        addOps(command("ops", "List operator types, or one type's parameters and variables"));
    }

    Command parse(int argc, const char* const* argv) {
        const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
        if (!arguments.empty())
            for (const CLI::App* named : myApp.get_subcommands({}))
                if (named->get_name() == arguments[0]) refuseOptionAsValue(*named, arguments);
        try {
            myApp.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            return HelpOptions{myApp.help()};
        } catch (const CLI::ParseError& error) {
            refuse(chosen() ? *chosen() : myApp, error.what());
        }
        return result();
    }

private:
    CLI::App* command(const char* name, const char* what) {
        CLI::App* added = myApp.add_subcommand(name, what);
        added->allow_extras();
        return added;
    }
    static void addScene(CLI::App* to, std::string& scene) { to->add_option("SCENE", scene, "Scene file (JSON)"); }
    static void addSets(CLI::App* to, std::vector<std::string>& sets) {
        to->add_option("--set", sets, "Set a parameter: /obj/fx/gravity.force.y=-3, /obj/fx.seed=3; may be repeated")
            ->type_name("PARM=VALUE")
            ->allow_extra_args(false);
    }
    static void addNet(CLI::App* to, std::string& net) {
        to->add_option("--net", net, "Only the particle network at this path")->type_name("PATH");
    }

    static void addCookOrder(CLI::App* to, std::string& order) {
        to->add_option("--cook-order", order,
                       "chunk: all operators on some particles, then on the next (default); operator: each operator on "
                       "all of them, which is slower and gives the same")
            ->type_name("ORDER")
            ->check(CLI::IsMember({"chunk", "operator"}));
    }

    void addRun(CLI::App* to) {
        addScene(to, myRun.scene);
        to->add_option("--frames", myRun.frames, "First and last frame, instead of the scene's own")->type_name("A-B");
        to->add_option("--out", myRun.out,
                       "One file per frame: #### is the frame, %n the network's name; .ply .csv .npz .flx or .bflx")
            ->type_name("PATTERN");
        addNet(to, myRun.net);
        addSets(to, myRun.sets);
        addCookOrder(to, myRun.cookOrder);
        to->add_flag("--json", myRun.json, "One JSON object per network and frame on standard output");
        to->add_flag("--quiet", myRun.quiet, "No progress");
        to->add_flag("--profile", myRun.profile, "At the end, a table of what every node cost, on standard error");
        to->add_option("--profile-json", myRun.profileJson, "Every cook as an event of a trace, for trace viewers")
            ->type_name("FILE");
    }
    void addDump(CLI::App* to) {
        addScene(to, myDump.scene);
        to->add_option("--frame", myDump.frame, "The frame to print")->type_name("N");
        addNet(to, myDump.net);
        addSets(to, myDump.sets);
        addCookOrder(to, myDump.cookOrder);
        to->add_flag("--guides", myDump.guides, "Guide geometry too");
    }
    void addCheck(CLI::App* to) { addScene(to, myCheck.scene); }
    void addOps(CLI::App* to) {
        to->add_option("NAME", myOps.name, "Operator type");
        to->add_flag("--functions", myOps.functions, "The functions of expressions");
        to->add_flag("--json", myOps.json, "As JSON");
    }

    const CLI::App* chosen() const {
        const std::vector<CLI::App*> used = myApp.get_subcommands();
        return used.empty() ? nullptr : used.front();
    }
    void refuseMissingCommand() {
        std::vector<std::string> names;
        for (const CLI::App* known : myApp.get_subcommands({})) names.push_back(known->get_name());
        for (const std::string& extra : myApp.remaining())
            if (extra[0] != '-')
                refuse(myApp, fmt::format("unknown command \"{}\"{}", extra, didYouMean(extra, names)));
        refuseExtras(myApp);
        refuse(myApp, fmt::format("expects a command: {}", fmt::join(names, ", ")));
    }
    Command result() {
        const CLI::App* used = chosen();
        if (!used) refuseMissingCommand();
        refuseExtras(*used);
        refuseExtras(myApp);
        if (used->get_name() == "ops") return myOps;
        for (const CLI::Option* option : used->get_options())
            if (option->get_name() == "SCENE" && option->count() == 0) refuse(*used, "expects a scene file");
        if (used->get_name() == "run") return myRun;
        if (used->get_name() == "dump") return myDump;
        return myCheck;
    }

    CLI::App myApp{"Simulates particle networks. \"flx COMMAND --help\" tells of one command.", "flx"};
    RunOptions myRun;
    DumpOptions myDump;
    CheckOptions myCheck;
    OpsOptions myOps;
};

} // namespace

Command parseCommandLine(int argc, const char* const* argv) { return Parser().parse(argc, argv); }
