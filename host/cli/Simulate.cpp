// gnss simulate: a receiver under a simulated sky.
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/Number.h"
#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/NumberText.h"
#include "host/cli/StopSignal.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/simulate/Simulator.h"
#include "host/simulate/StreamServer.h"
#include "host/text/PlaceText.h"
#include "host/text/TimeText.h"

namespace Host {

using SteadyClock = std::chrono::steady_clock;

namespace {

struct Options {
    std::string start = "2025-06-04 12:00";
    std::string duration;
    std::string interval = "1";
    std::string warmUp = "0";
    std::string place = "55.4936,8.4568,60";
    std::string motion = "still";
    std::string systems = "GR";
    std::string noise = "nominal";
    std::string mask = "5";
    std::string ionosphere = "1";
    std::string seed = "1";
    std::string speed;
    std::string output;
    std::optional<std::string> serve;
    std::string truth;
    std::vector<std::string> faults;
};

// What the options say, checked.
struct Request {
    SimulatorSettings settings;
    std::optional<double> duration;  // s; without one no end
    std::optional<double> speed;     // times real; without one as fast as it goes
    std::optional<ListenAddress> serve;
};

constexpr const char* FastSpeed = "max";
// With it even the longest simulation ends while the machine's clock can tell the time.
constexpr double SlowestSpeed = 1e-3;

std::optional<double> ReadFactor(const std::string& text) {
    return ReadNumber(text, 0.0, 1e6);
}

// A span, or 0.
std::optional<double> ReadSpan(const std::string& text) {
    if (text == "0") return 0.0;
    const auto span = ParseSpan(text);
    return span ? std::optional(span->Seconds()) : std::nullopt;
}

std::string ReadTimes(const Options& options, SimulatorSettings& settings, Request& request) {
    const auto start = ParseTime(options.start);
    if (!start) return "--start: " + Quoted(options.start) + " is not a time";
    // The library's own almanac is dated 2007: messages from before it would count as old.
    if (start->GetWeek() < 1434) return "--start: the simulation begins in 2007 at the earliest";
    // In 2100 the four years by which GLONASS counts lack a day.
    if (start->GetWeek() >= 6260) return "--start: the simulation begins in 2099 at the latest";
    settings.start = *start;
    const auto interval = ReadSpan(options.interval);
    if (!interval || !(*interval >= 0.05 && *interval <= 3600.0))
        return "--interval: " + Quoted(options.interval) + " is not a span between 0.05 s and an hour";
    settings.interval = *interval;
    const auto warmUp = ReadSpan(options.warmUp);
    if (!warmUp || *warmUp > 7200.0) return "--warm-up: " + Quoted(options.warmUp) + " is not a span up to 2 hours";
    settings.warmUp = *warmUp;
    if (!options.duration.empty()) {
        request.duration = ReadSpan(options.duration);
        if (!request.duration) return "--duration: " + Quoted(options.duration) + " is not a span of time";
    }
    return "";
}

std::string ReadMeasurements(const Options& options, SimulatorSettings& settings) {
    const auto place = ParsePlace(options.place);
    if (!place) return "--place: " + Quoted(options.place) + " is no place";
    settings.motion = AntennaMotion(*place);
    if (!ParseMotion(options.motion, settings.motion))
        return "--motion: " + Quoted(options.motion) + " is not still, circle,RADIUS,SPEED or line,COURSE,SPEED";
    if (options.systems != "G" && options.systems != "R" && options.systems != "GR")
        return "--systems: " + Quoted(options.systems) + " is not G, R or GR";
    settings.gps = options.systems != "R";
    settings.glonass = options.systems != "G";
    const auto noise = options.noise == "nominal" ? std::optional(1.0) : ReadFactor(options.noise);
    if (!noise) return "--noise: " + Quoted(options.noise) + " is not nominal or a factor of that";
    settings.noise = *noise;
    const auto mask = ReadNumber(options.mask, -5.0, 80.0);
    if (!mask) return "--mask: " + Quoted(options.mask) + " is not a number of degrees from -5 to 80";
    settings.mask = *mask;
    const auto ionosphere = ReadNumber(options.ionosphere, 0.0, 10.0);
    if (!ionosphere) return "--ionosphere: " + Quoted(options.ionosphere) + " is not a factor from 0 to 10";
    settings.ionosphere = *ionosphere;
    const auto seed = ReadNumber(options.seed, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max());
    if (!seed) return "--seed: " + Quoted(options.seed) + " is not a whole number from 0, below 2^64";
    settings.seed = *seed;
    for (const std::string& text : options.faults) {
        std::string fault;
        const auto read = ParseFault(text, fault);
        if (!read) return "--fault: " + fault;
        settings.faults.push_back(*read);
    }
    const auto isLeap = [](const SimulatedFault& f) { return f.kind == SimulatedFault::Kind::Leap; };
    if (std::count_if(settings.faults.begin(), settings.faults.end(), isLeap) > 1)
        return "--fault: one leap second is all that a simulation can have";
    return "";
}

bool IsStandard(const std::string& output) {
    return output.empty() || output == "-";
}

std::string Understand(const Options& options, Request& request) {
    if (std::string fault = ReadTimes(options, request.settings, request); !fault.empty()) return fault;
    if (std::string fault = ReadMeasurements(options, request.settings); !fault.empty()) return fault;
    if (options.serve) {
        request.serve = ParseListenAddress(*options.serve);
        if (!request.serve) return "--serve: " + Quoted(*options.serve) + " is not PORT or ADDRESS:PORT";
        if (!options.output.empty()) return "--serve and --output are two ways for the bytes to go; give one";
    }
    const bool isToOutput = IsStandard(options.truth) ? IsStandard(options.output) : options.truth == options.output;
    if (!options.truth.empty() && !options.serve && isToOutput)
        return "--truth and --output go to one place; the bytes and the rows need two";
    const std::string speed = options.speed.empty() ? (request.serve ? "1" : FastSpeed) : options.speed;
    if (speed != FastSpeed) {
        request.speed = ReadFactor(speed);
        if (!request.speed || *request.speed < SlowestSpeed)
            return "--speed: " + Quoted(speed) + " is not a factor from 0.001 to a million, or max";
    }
    if (!request.duration && !request.serve && !request.speed)
        return "say how long: --duration; only what is served, or comes at a --speed, may go on for ever";
    return "";
}

// The truth of every epoch as rows of CSV.
class TruthFile {
public:
    explicit TruthFile(const std::string& path)
        : sink_(path),
          rows_(RowWriter::Make(Form::Csv,
                                {{"time", "", 23},
                                 {"week", "", 5},
                                 {"tow", "s", 14, 6},
                                 {"x", "m", 15, 4},
                                 {"y", "m", 15, 4},
                                 {"z", "m", 15, 4},
                                 {"vx", "m/s", 12, 5},
                                 {"vy", "m/s", 12, 5},
                                 {"vz", "m/s", 12, 5},
                                 {"latitude", "deg", 14, 9},
                                 {"longitude", "deg", 14, 9},
                                 {"height", "m", 10, 4},
                                 {"clock", "s", 15, 12},
                                 {"clock_glonass", "s", 15, 12},
                                 {"clock_drift", "s/s", 15, 12},
                                 {"gps", "", 3},
                                 {"glonass", "", 3}},
                                sink_)) {}

    void Write(const SimulatedTruth& truth) {
        GNSS::Geog place;
        GNSS::Spheroid::WGS84.ECEFToGeog(truth.posn, place);
        const std::string time = PrintTime(truth.time);
        rows_->Write(std::array<Cell, 17>{
            std::string_view(time), std::int64_t{truth.time.GetWeek()}, truth.time.GetSeconds(), truth.posn.GetX(),
            truth.posn.GetY(), truth.posn.GetZ(), truth.vely.GetX(), truth.vely.GetY(), truth.vely.GetZ(),
            place.GetPhi().Degrees(), place.GetLambda().Degrees(), place.GetHeight(), truth.clock, truth.clockGlonass,
            truth.clockDrift, std::int64_t{truth.nmrGPS}, std::int64_t{truth.nmrGlonass}});
    }
    [[nodiscard]] bool IsGood() const { return sink_.IsGood(); }
    [[nodiscard]] std::string Close() { return sink_.Close(); }

private:
    Sink sink_;
    std::unique_ptr<RowWriter> rows_;
};

// Waits, as far as no signal asks to stop.
void SleepUntil(SteadyClock::time_point due) {
    constexpr std::chrono::milliseconds Longest(200);
    while (StopSignal::Get() == 0) {
        const auto left = due - SteadyClock::now();
        if (left <= SteadyClock::duration::zero()) return;
        std::this_thread::sleep_for(std::min<SteadyClock::duration>(left, Longest));
    }
}

int Run(const Options& options) {
    constexpr int Patience = 200;  // ms between looks for a signal
    Request request;
    if (const std::string fault = Understand(options, request); !fault.empty()) return Complain(fault), 2;

    StreamServer server;
    std::optional<Sink> sink;
    if (request.serve) {
        if (const std::string fault = server.Listen(*request.serve); !fault.empty()) return Complain(fault), 1;
        Complain(fmt::format("serving on {} port {}", request.serve->address, server.GetPort()));
    } else {
        sink.emplace(options.output);
    }
    std::optional<TruthFile> truths;
    if (!options.truth.empty()) truths.emplace(options.truth);

    const StopSignal stop;
    if (sink && IsStandard(options.output)) sink->SetStop([] { return StopSignal::Get() != 0; });
    // Nothing is sent, and no time passes, before somebody listens.
    while (request.serve && StopSignal::Get() == 0 && !server.Await(Patience)) {
    }
    Simulator simulator(request.settings);
    const auto begin = SteadyClock::now();
    const double interval = request.settings.interval;
    std::string bytes;
    for (std::int64_t epoch = 0; StopSignal::Get() == 0 && !(truths && !truths->IsGood()); ++epoch) {
        const double t = static_cast<double>(epoch) * interval;
        if (request.duration && t >= *request.duration - 1e-9) break;
        bytes.clear();
        const SimulatedTruth truth = simulator.Next(bytes);
        if (truths) truths->Write(truth);
        if (request.speed) SleepUntil(begin + std::chrono::microseconds(Corvane::ToInt64(t / *request.speed * 1e6)));
        if (sink) {
            sink->Write(bytes);
            if (!sink->IsGood()) break;
            // Who reads a pipe at real speed is not to wait for a buffer to fill.
            if (request.speed) sink->Flush();
        } else if (!server.Send(bytes)) {
            // As with a receiver, what nobody takes is lost; at full speed the next peer is waited for.
            while (!request.speed && StopSignal::Get() == 0 && !server.Await(Patience)) {
            }
            static_cast<void>(server.Await(0));
        }
    }
    int result = 0;
    for (const std::string& fault : {sink ? sink->Close() : std::string(), truths ? truths->Close() : std::string()}) {
        if (fault.empty()) continue;
        Complain(fault);
        result = 1;
    }
    return result;
}

}  // namespace

void AddSimulateCommand(CLI::App& program, int& exitCode) {
    CLI::App* command = program.add_subcommand("simulate", "a receiver's stream (UBX) under a simulated sky");
    const auto options = std::make_shared<Options>();
    const auto add = [&](const char* name, std::string& text, const char* help) {
        return command->add_option(name, text, help)->capture_default_str();
    };
    add("--start", options->start,
        "time of the first epoch (2025-06-04 12:00, GPS time, or UTC with a Z; 2369:302400)");
    add("--duration", options->duration, "of the simulation: 90, 30s, 15min, 2h, 7d");
    add("--interval", options->interval, "between epochs, from 0.05 s (20 Hz)");
    add("--warm-up", options->warmUp,
        "navigation messages heard before the first epoch; with 30s its ephemerides are there");
    add("--place", options->place, PlaceHelp);
    add("--motion", options->motion,
        "of the antenna from the place on: still; circle,RADIUS,SPEED; line,COURSE,SPEED (metres, m/s, degrees)");
    add("--systems", options->systems, "G, R or GR; R alone sends no model of the ionosphere");
    add("--mask", options->mask, "elevation from which satellites are received, degrees from -5 to 80");
    add("--seed", options->seed, "of all that is drawn; the same one gives the same bytes");
    add("--noise", options->noise,
        "errors of the measurements: nominal, as a position fix expects them, or a factor of it");
    add("--ionosphere", options->ionosphere, "true delay as a factor of the one broadcast, up to 10");
    command->add_option("--fault", options->faults, "something that goes wrong, see below; any number of times")
        ->allow_extra_args(false);
    command->add_option("--output", options->output, "file instead of standard output");
    command->add_option("--serve", options->serve,
                        "to a TCP client instead: [ADDRESS:]PORT, on the loopback address unless one is given");
    command->add_option("--speed", options->speed,
                        "times real speed, or max; served streams have 1, others max, where nothing is said");
    command->add_option("--truth", options->truth, "CSV file of the true positions, velocities and clocks");
    command->footer(
        "GPS and GLONASS satellites on nominal orbits, integrated for the date; their messages, as the control\n"
        "segments would send them; a receiver with its clock. Messages: NAV-TIMEGPS, RXM-RAWX, RXM-SFRBX.\n"
        "\n"
        "Faults: kind, satellite (G05, R14, G, R or all), and at=, for= in seconds (else from the start, to the end):\n"
        "  step,G05,at=600,for=120,size=20    range longer by 20 m; phase and Doppler stay\n"
        "  ramp,R03,at=600,for=300,size=0.5   range growing by 0.5 m/s; phase and Doppler stay\n"
        "  clock,G12,at=900,size=0.2          satellite's clock drifting by 0.2 m/s, in no message\n"
        "  unhealthy,G07,at=600,for=600       its messages warn of it\n"
        "  orbit,G09,at=600,size=500          its ephemerides put it 500 m ahead on its way\n"
        "  mixed,G01,with=G17                 its ephemerides are another satellite's\n"
        "  bits,all,size=1e-3                 each bit of the messages wrong with this probability\n"
        "  outage,all,at=300,for=60           nothing received of it\n"
        "  leap,at=600                        a leap second at the end of that day of UTC, announced before\n"
        "What is in messages changes with a satellite's next frame of 30 s. The turns of the time need no fault:\n"
        "  --start \"2025-06-07 23:57\"          a week's end after three minutes\n"
        "  --start \"2038-11-20 23:57\"          the end of week 1023, as GPS counts\n"
        "  --start \"2027-12-31 20:57:18\"       GLONASS day 1461 to day 1\n"
        "\n"
        "A served stream begins when a client comes, one at a time, and goes on without one.\n"
        "\n"
        "  gnss simulate --duration 1h --output sky.ubx --truth sky.csv && gnss run sky.ubx\n"
        "  gnss simulate --serve 2101 --warm-up 30s --motion circle,50,5\n"
        "\n"
        "Exit code: 0 when all was written, also up to a signal; 1 when an output or the port fails; 2 when the "
        "command\n"
        "line is wrong.");
    command->callback([=, &exitCode] { exitCode = Run(*options); });
}

}  // namespace Host
