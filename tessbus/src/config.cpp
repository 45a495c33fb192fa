#include "config.h"

#include "demogenerator.h"
#include "replayfeeder.h"
#include "replaylog.h"
#include "socketcannet.h"
#include "virtualnet.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace tessbus {

namespace {

constexpr uint64_t kMaxTimestampFrequency = 1000000000000ull;
// Frames of a replay log that loading the configuration looks at, at most,
// for one that the net replays: a huge log is streamed later, while it plays.
constexpr uint64_t kReplayLookFrames = 65536;

bool parseUnsigned(const std::string& text, uint64_t* value)
{
    if (text.empty())
        return false;
    int base = 10;
    const char* begin = text.data();
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        begin += 2;
    }
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, *value, base);
    return result.ec == std::errc() && result.ptr == end;
}

bool parseDouble(const std::string& text, double* value)
{
    const char* end = text.data() + text.size();
    // from_chars reads the C format whatever the process's locale is.
    const auto result = std::from_chars(text.data(), end, *value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end && std::isfinite(*value);
}

bool equalsIgnoringCase(const std::string& a, const char* b)
{
    if (a.size() != std::strlen(b))
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

// "Fc,2b,Ts", "none", or a number such as 0x23.
bool parseFeatures(const std::string& text, uint16_t* features)
{
    uint64_t number;
    // "2b" begins with a digit too, so a number is whatever parses whole.
    if (parseUnsigned(text, &number)) {
        if (number > 0xFFFF)
            return false;
        *features = static_cast<uint16_t>(number);
        return true;
    }
    static const struct
    {
        const char* name;
        uint16_t bit;
    } names[] = {{"Fc", TESS_FEATURE_FC},
                 {"2b", TESS_FEATURE_29BIT},
                 {"Ts", TESS_FEATURE_TIMESTAMP},
                 {"Lo", TESS_FEATURE_LO},
                 {"Sd", TESS_FEATURE_SD}};
    uint16_t bits = 0;
    if (text.empty() || equalsIgnoringCase(text, "none")) {
        *features = 0;
        return true;
    }
    std::stringstream list(text);
    std::string item;
    while (std::getline(list, item, ',')) {
        bool known = false;
        for (const auto& n : names) {
            if (equalsIgnoringCase(item, n.name)) {
                bits |= n.bit;
                known = true;
            }
        }
        if (!known)
            return false;
    }
    *features = bits;
    return true;
}

std::string directoryOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseNameOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// One configuration file: parses its lines and builds the nets they name.
class ConfigFile
{
public:
    ConfigFile(const std::string& path, NetTable* nets) : path_(path), nets_(nets) {}

    void parse(std::istream& in)
    {
        std::string line;
        while (std::getline(in, line)) {
            ++lineNumber_;
            const size_t comment = line.find('#');
            if (comment != std::string::npos)
                line.erase(comment);
            std::istringstream words(line);
            std::vector<std::string> tokens;
            for (std::string w; words >> w;)
                tokens.push_back(w);
            if (!tokens.empty())
                parseNetLine(tokens);
        }
    }

private:
    void report(const std::string& message) const
    {
        std::fprintf(stderr, "%s:%d: %s\n", path_.c_str(), lineNumber_, message.c_str());
    }

    void parseNetLine(const std::vector<std::string>& tokens)
    {
        if (tokens[0] != "net") {
            report("expected 'net N backend ...', found '" + tokens[0] + "'");
            return;
        }
        uint64_t number = TESS_MAX_NETS;
        const bool decimal = tokens.size() >= 2 &&
                             std::all_of(tokens[1].begin(), tokens[1].end(),
                                         [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
        if (!decimal || !parseUnsigned(tokens[1], &number) || number >= TESS_MAX_NETS) {
            report("bad net number '" + (tokens.size() > 1 ? tokens[1] : std::string()) + "' (0 to 255)");
            return;
        }
        const int net = static_cast<int>(number);
        if ((*nets_)[net]) {
            report("net " + std::to_string(net) + " is configured twice");
            return;
        }
        if (tokens.size() < 3) {
            report("net " + std::to_string(net) + " has no backend (virtual, replay or socketcan)");
            return;
        }
        const std::string& backend = tokens[2];
        const std::vector<std::string> args(tokens.begin() + 3, tokens.end());
        std::shared_ptr<Net> built;
        if (backend == "virtual")
            built = buildVirtual(args);
        else if (backend == "replay")
            built = buildReplay(args);
        else if (backend == "socketcan")
            built = buildSocketCan(args);
        else
            report("unknown backend '" + backend + "' (virtual, replay or socketcan)");
        (*nets_)[net] = built;
    }

    // Options that virtual and replay nets share. False after a report.
    bool parseCommonOption(const std::string& key, const std::string& value, NetDescription* d)
    {
        uint64_t number;
        if (key == "name") {
            d->boardName = boardName(value);
        } else if (key == "features") {
            if (!parseFeatures(value, &d->features))
                return bad("features", value, "Fc,2b,Ts,Lo,Sd or a number such as 0x23");
        } else if (key == "tsfreq") {
            if (!parseUnsigned(value, &number) || number == 0 || number > kMaxTimestampFrequency)
                return bad(key, value, "ticks per second, 1 or more");
            d->timestampFrequency = number;
        } else if (key == "hw" || key == "fw") {
            if (!parseUnsigned(value, &number) || number > 0xFFFF)
                return bad(key, value, "a 16-bit version such as 0x0102");
            (key == "hw" ? d->hardwareVersion : d->firmwareVersion) = static_cast<uint16_t>(number);
        } else {
            report("unknown option '" + key + "'");
            return false;
        }
        return true;
    }

    // What fits the status record, with its terminating zero.
    static std::string boardName(const std::string& name) { return name.substr(0, TESS_BOARD_NAME_SIZE - 1); }

    bool bad(const std::string& key, const std::string& value, const char* expected)
    {
        report("bad value '" + value + "' for " + key + " (" + expected + ")");
        return false;
    }

    static bool splitOption(const std::string& arg, std::string* key, std::string* value)
    {
        const size_t eq = arg.find('=');
        if (eq == std::string::npos || eq == 0)
            return false;
        *key = arg.substr(0, eq);
        *value = arg.substr(eq + 1);
        return true;
    }

    std::shared_ptr<Net> buildVirtual(const std::vector<std::string>& args)
    {
        NetDescription d;
        bool demo = false;
        bool named = false;
        for (const std::string& arg : args) {
            std::string key, value;
            if (arg == "demo") {
                demo = true;
            } else if (!splitOption(arg, &key, &value)) {
                report("unknown option '" + arg + "'");
                return nullptr;
            } else if (!parseCommonOption(key, value, &d)) {
                return nullptr;
            } else {
                named = named || key == "name";
            }
        }
        if (!named)
            d.boardName = demo ? "DEMO_CAN" : "VIRTUAL_CAN";
        auto net = std::make_shared<VirtualNet>(d);
        if (demo)
            net->setSource(std::make_unique<DemoGenerator>(net->bus(), net->clock()));
        return net;
    }

    std::shared_ptr<Net> buildReplay(const std::vector<std::string>& args)
    {
        if (args.empty()) {
            report("replay needs a log file");
            return nullptr;
        }
        std::string file = args[0];
        if (file[0] != '/')
            file = directoryOf(path_) + "/" + file;
        NetDescription d;
        d.boardName = boardName(baseNameOf(file));
        ReplayOptions options;
        options.origin = path_ + ":" + std::to_string(lineNumber_);
        for (size_t i = 1; i < args.size(); ++i) {
            std::string key, value;
            uint64_t number;
            if (!splitOption(args[i], &key, &value)) {
                report("unknown option '" + args[i] + "'");
                return nullptr;
            }
            if (key == "speed") {
                if (!parseDouble(value, &options.speed) || options.speed < 0) {
                    bad(key, value, "a factor, 0 for as fast as read");
                    return nullptr;
                }
            } else if (key == "loop") {
                if (value != "0" && value != "1") {
                    bad(key, value, "0 or 1");
                    return nullptr;
                }
                options.loop = value == "1";
            } else if (key == "channel") {
                if (!parseUnsigned(value, &number) || number > 0xFFFE) {
                    bad(key, value, "a channel of the log, from 0");
                    return nullptr;
                }
                options.channel = static_cast<int>(number);
            } else if (!parseCommonOption(key, value, &d)) {
                return nullptr;
            }
        }
        std::string error;
        switch (lookForFrames(file, options.channel, kReplayLookFrames, &error)) {
        case LogLook::HasFrames:
            break;
        case LogLook::Unreadable:
            report("cannot read replay log '" + file + "': " + error);
            return nullptr;
        case LogLook::NoFrames:
            report("replay log '" + file + "' holds no CAN frames" +
                   (options.channel == ReplayLog::kAllChannels
                        ? std::string()
                        : " on channel " + std::to_string(options.channel)) +
                   (error.empty() ? std::string() : " before " + error));
            return nullptr;
        }
        auto net = std::make_shared<VirtualNet>(d);
        net->setSource(std::make_unique<ReplayFeeder>(net->bus(), net->clock(), file, std::move(options)));
        return net;
    }

    std::shared_ptr<Net> buildSocketCan(const std::vector<std::string>& args)
    {
        if (args.size() != 1) {
            report("socketcan needs exactly one interface name");
            return nullptr;
        }
        std::string error;
        auto net = SocketCanNet::create(args[0], &error);
        if (!net)
            report("socketcan " + args[0] + ": " + error);
        return net;
    }

    const std::string path_;
    NetTable* nets_;
    int lineNumber_ = 0;
};

bool fileExists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

std::string envOrEmpty(const char* name)
{
    const char* value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

} // namespace

bool loadConfigFile(const std::string& path, NetTable* nets)
{
    const char* problem = nullptr;
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        problem = std::strerror(errno);
    else if (S_ISDIR(st.st_mode))
        problem = "is a directory";
    std::ifstream in;
    if (!problem) {
        in.open(path);
        if (!in)
            problem = std::strerror(errno);
    }
    if (problem) {
        std::fprintf(stderr, "tessbus: cannot read configuration '%s': %s; no nets\n", path.c_str(), problem);
        return false;
    }
    ConfigFile(path, nets).parse(in);
    return true;
}

NetTable loadConfiguredNets()
{
    NetTable nets;
    const std::string explicitPath = envOrEmpty("TESSBUS_CONFIG");
    if (!explicitPath.empty()) {
        loadConfigFile(explicitPath, &nets);
        return nets;
    }
    std::string configHome = envOrEmpty("XDG_CONFIG_HOME");
    if (configHome.empty() || configHome[0] != '/') {
        const std::string home = envOrEmpty("HOME");
        configHome = home.empty() ? std::string() : home + "/.config";
    }
    for (const std::string& candidate : {configHome.empty() ? std::string() : configHome + "/tessbus.conf",
                                         std::string("/etc/tessbus.conf")}) {
        if (!candidate.empty() && fileExists(candidate)) {
            loadConfigFile(candidate, &nets);
            return nets;
        }
    }
    // No file: the machine's CAN interfaces, in interface-index order.
    int next = 0;
    for (const std::string& ifname : SocketCanNet::discoverInterfaces()) {
        if (next >= TESS_MAX_NETS)
            break;
        std::string error;
        if (auto net = SocketCanNet::create(ifname, &error))
            nets[next++] = net;
    }
    return nets;
}

} // namespace tessbus
