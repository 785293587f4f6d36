// The C interface of the host library: opaque handles over the C++ classes, statuses for
// results, and no exception past any of these functions.

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "frontend/security.h"
#include "host/Job.h"
#include "host/ProgressListener.h"
#include "host/SettingsText.h"
#include "host/StopFlagFile.h"
#include "pdfannotations/host.h"

struct pdfa_settings {
    host::SettingsText settings;
    std::string text;
};

struct pdfa_stop_flag {
    std::unique_ptr<host::StopFlagFile> file;
};

struct pdfa_listener {
    std::unique_ptr<host::ProgressListener> listener;
};

struct pdfa_job {
    std::unique_ptr<host::Job> job;
    std::vector<std::string> outputs;
};

namespace {

thread_local std::string lastError;

pdfa_status fail(pdfa_status status, std::string message) {
    lastError = std::move(message);
    return status;
}

pdfa_status fail(const platform::Error& error) {
    using Code = platform::Error::Code;
    switch (error.code) {
        case Code::System:
            return fail(PDFA_E_SYSTEM, error.message);
        case Code::Format:
            return fail(PDFA_E_FORMAT, error.message);
        default:
            return fail(PDFA_E_ARGUMENT, error.message);
    }
}

pdfa_status nullArgument() { return fail(PDFA_E_ARGUMENT, "a required argument is NULL"); }

// Runs body, turning the one exception the C++ side can raise (memory running out) and any
// other into a status.
template <class Body>
pdfa_status guarded(Body body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return fail(PDFA_E_MEMORY, "out of memory");
    } catch (...) {
        return fail(PDFA_E_SYSTEM, "unexpected failure");
    }
}

// A copy the caller frees with pdfa_free; null when memory runs out.
char* copyForCaller(const std::string& text) {
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

host::JobKind toKind(pdfa_job_kind kind) {
    return kind == PDFA_JOB_CONVERT ? host::JobKind::Convert : host::JobKind::TextToLink;
}

bool isKnownKind(pdfa_job_kind kind) {
    return kind == PDFA_JOB_CONVERT || kind == PDFA_JOB_TEXT_TO_LINK;
}

}  // namespace

extern "C" {

const char* pdfa_status_text(pdfa_status status) {
    switch (status) {
        case PDFA_OK:
            return "ok";
        case PDFA_RUNNING:
            return "still running";
        case PDFA_E_SYSTEM:
            return "system error";
        case PDFA_E_FORMAT:
            return "format error";
        case PDFA_E_ARGUMENT:
            return "argument error";
        case PDFA_E_MEMORY:
            return "out of memory";
    }
    return "unknown status";
}

const char* pdfa_last_error(void) { return lastError.c_str(); }

void pdfa_free(void* text) { std::free(text); }

pdfa_settings* pdfa_settings_new(void) { return new (std::nothrow) pdfa_settings(); }

void pdfa_settings_free(pdfa_settings* settings) { delete settings; }

pdfa_status pdfa_settings_set(pdfa_settings* settings, const char* key, const char* value) {
    if (settings == nullptr || key == nullptr || value == nullptr) return nullArgument();
    return guarded([&] {
        auto done = settings->settings.set(key, value);
        if (!done) return fail(done.error());
        settings->text = settings->settings.text();
        return PDFA_OK;
    });
}

const char* pdfa_settings_get(const pdfa_settings* settings, const char* key) {
    if (settings == nullptr || key == nullptr) return nullptr;
    try {
        const std::string* value = settings->settings.find(key);
        return value != nullptr ? value->c_str() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

const char* pdfa_settings_text(const pdfa_settings* settings) {
    return settings != nullptr ? settings->text.c_str() : "";
}

const char* pdfa_settings_missing(const pdfa_settings* settings, pdfa_job_kind kind) {
    if (settings == nullptr) return "input";
    // Every name missingFor gives is a literal, so its text stays valid.
    auto missing = settings->settings.missingFor(toKind(kind));
    return missing ? missing->data() : nullptr;
}

pdfa_status pdfa_codes_encode(const char* plain, char** codes) {
    if (plain == nullptr || codes == nullptr) return nullArgument();
    *codes = nullptr;
    return guarded([&] {
        *codes = copyForCaller(frontend::encodeArgumentCodes(plain));
        return *codes != nullptr ? PDFA_OK : fail(PDFA_E_MEMORY, "out of memory");
    });
}

pdfa_status pdfa_codes_decode(const char* codes, char** plain) {
    if (codes == nullptr || plain == nullptr) return nullArgument();
    *plain = nullptr;
    return guarded([&] {
        std::optional<std::string> decoded = frontend::decodeArgumentCodes(codes);
        if (!decoded) return fail(PDFA_E_FORMAT, "the codes text cannot be decoded");
        *plain = copyForCaller(*decoded);
        return *plain != nullptr ? PDFA_OK : fail(PDFA_E_MEMORY, "out of memory");
    });
}

}  // extern "C"

namespace {

template <class Open>
pdfa_status openStopFlag(const char* identifier, pdfa_stop_flag** flag, Open open) {
    if (identifier == nullptr || flag == nullptr) return nullArgument();
    *flag = nullptr;
    return guarded([&] {
        auto file = open(identifier);
        if (!file) return fail(file.error());
        *flag = new pdfa_stop_flag{std::move(*file)};
        return PDFA_OK;
    });
}

}  // namespace

extern "C" {

pdfa_status pdfa_stop_flag_create(const char* identifier, pdfa_stop_flag** flag) {
    return openStopFlag(identifier, flag, host::StopFlagFile::create);
}

pdfa_status pdfa_stop_flag_open(const char* identifier, pdfa_stop_flag** flag) {
    return openStopFlag(identifier, flag, host::StopFlagFile::open);
}

void pdfa_stop_flag_raise(pdfa_stop_flag* flag) {
    if (flag != nullptr) flag->file->raise();
}

void pdfa_stop_flag_clear(pdfa_stop_flag* flag) {
    if (flag != nullptr) flag->file->clear();
}

int pdfa_stop_flag_is_raised(const pdfa_stop_flag* flag) {
    return flag != nullptr && flag->file->isRaised() ? 1 : 0;
}

const char* pdfa_stop_flag_path(const pdfa_stop_flag* flag) {
    return flag != nullptr ? flag->file->path().c_str() : "";
}

void pdfa_stop_flag_free(pdfa_stop_flag* flag) { delete flag; }

pdfa_status pdfa_listener_start(pdfa_progress_callback callback, void* user_data,
                                pdfa_listener** listener) {
    if (listener == nullptr) return nullArgument();
    *listener = nullptr;
    return guarded([&] {
        host::ProgressListener::Callback forward;
        if (callback != nullptr) {
            forward = [callback, user_data](const std::string& argument) {
                callback(argument.c_str(), user_data);
            };
        }
        auto started = host::ProgressListener::start(std::move(forward));
        if (!started) return fail(started.error());
        *listener = new pdfa_listener{std::move(*started)};
        return PDFA_OK;
    });
}

size_t pdfa_listener_count(const pdfa_listener* listener) {
    return listener != nullptr ? listener->listener->count() : 0;
}

void pdfa_listener_free(pdfa_listener* listener) { delete listener; }

pdfa_status pdfa_job_start(const char* tool, pdfa_job_kind kind, const pdfa_settings* settings,
                           pdfa_job** job) {
    if (settings == nullptr || job == nullptr || !isKnownKind(kind)) return nullArgument();
    *job = nullptr;
    return guarded([&] {
        auto started =
            host::Job::start(tool != nullptr ? tool : "", toKind(kind), settings->settings);
        if (!started) return fail(started.error());
        *job = new pdfa_job{std::move(*started), {}};
        return PDFA_OK;
    });
}

pdfa_status pdfa_job_wait(pdfa_job* job, int timeout_ms, int* exit_status) {
    if (job == nullptr) return nullArgument();
    return guarded([&] {
        std::optional<std::chrono::milliseconds> timeout;
        if (timeout_ms >= 0) timeout = std::chrono::milliseconds(timeout_ms);
        auto waited = job->job->wait(timeout);
        if (!waited) return fail(waited.error());
        if (!*waited) return PDFA_RUNNING;
        if (exit_status != nullptr) *exit_status = **waited;
        job->outputs = job->job->writtenFiles();
        return PDFA_OK;
    });
}

void pdfa_job_stop(pdfa_job* job) {
    if (job != nullptr) job->job->stop();
}

const char* pdfa_job_identifier(const pdfa_job* job) {
    return job != nullptr ? job->job->identifier().c_str() : "";
}

size_t pdfa_job_output_count(const pdfa_job* job) {
    return job != nullptr ? job->outputs.size() : 0;
}

const char* pdfa_job_output(const pdfa_job* job, size_t index) {
    if (job == nullptr || index >= job->outputs.size()) return nullptr;
    return job->outputs[index].c_str();
}

const char* pdfa_job_stdout(const pdfa_job* job) {
    return job != nullptr ? job->job->standardOutput().c_str() : "";
}

const char* pdfa_job_stderr(const pdfa_job* job) {
    return job != nullptr ? job->job->standardError().c_str() : "";
}

void pdfa_job_free(pdfa_job* job) { delete job; }

}  // extern "C"
