// A library that a program with one window of the toolkit loads first (LD_PRELOAD). The library
// measures the frames of the window, prints one line and ends the program. QUORVEL_BENCH_PROBE
// selects the measurement:
//   frame   CPU seconds of the process until its first frame (default)
//   memory  peak resident memory in MiB, one second after the first frame
//   key     CPU seconds from a key press to the next frame: the median of several Down keys
//   text    the same for Up keys that focus the first row, after the analysis of the first row
// Main-loop thread.

#include <Ecore_Evas.h>
#include <Elementary.h>
#include <dlfcn.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr double kTick = 0.1;            // seconds between two steps
constexpr int kTicksBeforeFirstKey = 5;  // the first frame starts transitions
constexpr int kTicksForAnalysis = 40;
constexpr int kTicksForFrame = 30;  // after this time without a frame, the probe fails
constexpr std::size_t kSamples = 9;

struct Step {
    const char* key;
    int ticksAfter;
    bool isMeasured;
};

double CpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double PeakMebibytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// Prints the result and exits without the shutdown of the program, which would print more lines.
[[noreturn]] void Finish(double result) {
    std::printf("%.6f\n", result);
    std::fflush(stdout);
    _exit(EXIT_SUCCESS);
}

std::string Measure() {
    const char* measure = std::getenv("QUORVEL_BENCH_PROBE");
    return measure == nullptr ? "frame" : measure;
}

std::vector<Step> StepsOf(const std::string& measure) {
    std::vector<Step> steps;
    if (measure == "key") {
        steps.assign(kSamples, {"Down", 1, true});
    } else {
        // OK starts the analysis. The second OK closes the popup.
        steps = {{"Return", kTicksForAnalysis, false}, {"Return", kTicksBeforeFirstKey, false}};
        for (std::size_t i = 0; i < kSamples; ++i) {
            steps.push_back({"Down", 2, false});
            steps.push_back({"Up", 2, true});
        }
    }
    return steps;
}

class Probe {
public:
    explicit Probe(Evas_Object* window)
        : m_Canvas(evas_object_evas_get(window)),
          m_Measure(Measure()),
          m_Steps(StepsOf(m_Measure)) {
        evas_event_callback_add(m_Canvas, EVAS_CALLBACK_RENDER_POST, m_OnFrame, this);
    }

private:
    static void m_OnFrame(void* data, Evas*, void*) { static_cast<Probe*>(data)->m_HandleFrame(); }
    static Eina_Bool m_OnTick(void* data) {
        static_cast<Probe*>(data)->m_HandleTick();
        return ECORE_CALLBACK_RENEW;
    }
    static Eina_Bool m_OnMemory(void*) { Finish(PeakMebibytes()); }

    void m_HandleFrame() {
        if (!m_HasFrame && m_Measure == "frame") {
            Finish(CpuSeconds());
        }
        if (!m_HasFrame) {
            ecore_timer_add(m_Measure == "memory" ? 1 : kTick,
                            m_Measure == "memory" ? m_OnMemory : m_OnTick, this);
        }
        m_HasFrame = true;
        if (m_IsPressed) {
            m_Samples.push_back(CpuSeconds() - m_Start);
            m_IsPressed = false;
        }
    }

    void m_HandleTick() {
        ++m_Ticks;
        if (m_IsPressed && m_Ticks > m_TicksToWait + kTicksForFrame) {
            std::fputs("FrameProbe: no frame after a key\n", stderr);
            _exit(EXIT_FAILURE);
        }
        if (m_IsPressed || m_Ticks <= m_TicksToWait) {
            return;
        }
        if (m_Next == m_Steps.size()) {
            std::sort(m_Samples.begin(), m_Samples.end());
            Finish(m_Samples[m_Samples.size() / 2]);
        }
        m_Press(m_Steps[m_Next++]);
    }

    void m_Press(const Step& step) {
        if (m_Next == 1) {
            // A canvas in memory receives keys only after its focus is set again.
            Ecore_Evas* window = ecore_evas_ecore_evas_get(m_Canvas);
            ecore_evas_focus_set(window, EINA_FALSE);
            ecore_evas_focus_set(window, EINA_TRUE);
        }
        m_Ticks = 0;
        m_TicksToWait = step.ticksAfter;
        m_IsPressed = step.isMeasured;
        m_Start = CpuSeconds();
        evas_event_feed_key_down(m_Canvas, step.key, step.key, nullptr, nullptr, 0, nullptr);
        evas_event_feed_key_up(m_Canvas, step.key, step.key, nullptr, nullptr, 0, nullptr);
    }

    Evas* m_Canvas;
    std::string m_Measure;
    std::vector<Step> m_Steps;
    std::size_t m_Next = 0;
    int m_Ticks = 0;  // since the last key
    int m_TicksToWait = kTicksBeforeFirstKey;
    bool m_HasFrame = false;
    bool m_IsPressed = false;  // whether a measured key waits for its frame
    double m_Start = 0;
    std::vector<double> m_Samples;
};

}  // namespace

// The program calls this function instead of the toolkit's function.
extern "C" EAPI Evas_Object* elm_win_util_standard_add(const char* name, const char* title) {
    const auto create = reinterpret_cast<Evas_Object* (*)(const char*, const char*)>(
        dlsym(RTLD_NEXT, "elm_win_util_standard_add"));
    Evas_Object* window = create(name, title);
    static Probe probe(window);
    return window;
}
