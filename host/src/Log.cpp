// The host's Android log sink: liblog's entry points record every line for tests and tools.
#include <android/log.h>
#include <tevhost/Log.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace tevhost {
namespace log {
namespace {

struct Sink {
    std::mutex lock;
    std::vector<Line> lines;
    bool echo = getenv("TEVHOST_LOG") != nullptr;
};

Sink& sink() {
    static Sink* s = new Sink;  // never destroyed: logging may happen during exit
    return *s;
}

}  // namespace

std::vector<Line> lines() {
    std::lock_guard<std::mutex> guard(sink().lock);
    return sink().lines;
}

size_t count() {
    std::lock_guard<std::mutex> guard(sink().lock);
    return sink().lines.size();
}

void clear() {
    std::lock_guard<std::mutex> guard(sink().lock);
    sink().lines.clear();
}

std::vector<Line> takeLines() {
    std::vector<Line> taken;
    std::lock_guard<std::mutex> guard(sink().lock);
    taken.swap(sink().lines);
    return taken;
}

void setEcho(bool echo) {
    std::lock_guard<std::mutex> guard(sink().lock);
    sink().echo = echo;
}

char priorityLetter(int priority) {
    static const char kLetters[] = "??VDIWEFS";
    return priority >= 0 && priority < 9 ? kLetters[priority] : '?';
}

void record(int priority, const char* tag, const char* text) {
    Line line{priority, tag ? tag : "", text ? text : ""};
    std::lock_guard<std::mutex> guard(sink().lock);
    if (sink().echo) {
        fprintf(stderr, "%c/%s(%5d): %s\n", priorityLetter(priority), line.tag.c_str(), getpid(),
                line.text.c_str());
    }
    sink().lines.push_back(std::move(line));
}

std::string format(const char* fmt, va_list ap) {
    va_list copy;
    va_copy(copy, ap);
    int size = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (size < 0) return fmt;
    std::string text(static_cast<size_t>(size) + 1, '\0');
    vsnprintf(&text[0], text.size(), fmt, ap);
    text.resize(static_cast<size_t>(size));
    return text;
}

}  // namespace log
}  // namespace tevhost

using tevhost::log::format;
using tevhost::log::record;

extern "C" {

int __android_log_write(int prio, const char* tag, const char* text) {
    record(prio, tag, text);
    return 1;
}

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap) {
    record(prio, tag, format(fmt, ap).c_str());
    return 1;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    std::string text = format(fmt, ap);
    va_end(ap);
    record(prio, tag, text.c_str());
    return 1;
}

int __android_log_buf_write(int /* bufID */, int prio, const char* tag, const char* text) {
    record(prio, tag, text);
    return 1;
}

int __android_log_buf_print(int /* bufID */, int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    std::string text = format(fmt, ap);
    va_end(ap);
    record(prio, tag, text.c_str());
    return 1;
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    std::string text;
    if (fmt) {
        va_list ap;
        va_start(ap, fmt);
        text = format(fmt, ap);
        va_end(ap);
    } else {
        text = std::string("Assertion failed: ") + (cond ? cond : "");
    }
    record(ANDROID_LOG_FATAL, tag, text.c_str());
    fprintf(stderr, "F/%s: %s\n", tag ? tag : "", text.c_str());
    abort();
}

int __android_log_is_loggable(int /* prio */, const char* /* tag */, int /* default_prio */) {
    return 1;
}

}  // extern "C"
