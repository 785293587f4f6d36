#ifndef PDFANNOTATIONS_HOST_H
#define PDFANNOTATIONS_HOST_H
/*
 * libpdfannotations-host: what a host application needs to drive the PDFAnnotations worker.
 *
 *  - settings:  build the "key=value|key=value" settings text of a job;
 *  - codes:     encode it into the codes text the worker takes as its one argument (and back);
 *  - stop flag: the file "Tarn_<identifier>" in the temporary directory whose byte 1 asks a
 *               running job to stop;
 *  - listener:  receive the worker's progress messages on the socket
 *               "<temporary directory>/text2linksInfoThread";
 *  - job:       start the worker, wait for it or stop it, and read its exit status, what it
 *               printed and the files it wrote.
 *
 * The temporary directory is $TMPDIR when it is set and not empty, otherwise /tmp; it is read at
 * each call, and a started worker inherits this process's environment.
 *
 * Conventions: every handle is opaque and freed by its own *_free function, which accepts NULL.
 * Functions that can fail return a pdfa_status; on failure pdfa_last_error() describes what
 * happened, in the calling thread. Texts are NUL-terminated UTF-8. Texts returned as `const
 * char *` belong to the handle they came from; texts returned through `char **` belong to the
 * caller, who frees them with pdfa_free(). No function lets a C++ exception escape and none
 * calls exit() or abort().
 *
 * Threads: a handle is used by one thread at a time, except that pdfa_job_stop may be called
 * from any thread (a progress callback included) while another waits for the job, and a stop
 * flag may be raised or cleared from any thread while it exists.
 */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define PDFA_HOST_API __attribute__((visibility("default")))
#else
#define PDFA_HOST_API
#endif

typedef enum pdfa_status {
    PDFA_OK = 0,
    /* pdfa_job_wait: the time ran out and the job is still running. */
    PDFA_RUNNING = 1,
    /* The operating system refused: a file, socket, process or thread could not be made. */
    PDFA_E_SYSTEM = -1,
    /* A codes text that does not decode to UTF-8 text. */
    PDFA_E_FORMAT = -2,
    /* A NULL where a value is needed, a key or value the settings text cannot carry, an
       identifier that cannot name a file, or a call the object's state does not allow. */
    PDFA_E_ARGUMENT = -3,
    /* Memory ran out. */
    PDFA_E_MEMORY = -4
} pdfa_status;

/* A fixed English name of the status ("ok", "system error", ...). Never NULL. */
PDFA_HOST_API const char* pdfa_status_text(pdfa_status status);

/* What the last failing call of this thread reported, for example
   "cannot create /tmp/Tarn_7: Permission denied". Empty when nothing failed yet. Valid until
   the next call into the library from this thread. */
PDFA_HOST_API const char* pdfa_last_error(void);

/* Frees a text that the library handed to the caller. NULL is ignored. */
PDFA_HOST_API void pdfa_free(void* text);

/* ---- Settings text ------------------------------------------------------------------------ */

typedef struct pdfa_settings pdfa_settings;

/* An empty settings text; NULL when memory runs out. */
PDFA_HOST_API pdfa_settings* pdfa_settings_new(void);
PDFA_HOST_API void pdfa_settings_free(pdfa_settings* settings);

/* Sets key to value. A key already present (compared without letter case) keeps its place and
   takes the new value; a new key goes last. The values of the path keys "input", "i", "output"
   and "o" may hold "|" and "=": they are written as ":7C:" and ":3D:", which the worker turns
   back. PDFA_E_ARGUMENT for an empty key, a key holding "|" or "=", or another key's value
   holding "|" or "=" (the worker could not read it back). */
PDFA_HOST_API pdfa_status pdfa_settings_set(pdfa_settings* settings, const char* key,
                                            const char* value);

/* The value last set for key or for its other spelling ("input" and "i", "output" and "o",
   "range" and "r", "identifier" and "id", ...), as it was given (unescaped); NULL when
   neither is set. */
PDFA_HOST_API const char* pdfa_settings_get(const pdfa_settings* settings, const char* key);

/* The settings text, for example "input=a.pdf|output=out|range=ALL|divide=1". Valid until the
   settings change or are freed. */
PDFA_HOST_API const char* pdfa_settings_text(const pdfa_settings* settings);

/* The two jobs of the worker. */
typedef enum pdfa_job_kind {
    PDFA_JOB_CONVERT = 0,     /* "-b": link annotations to page-editor or slide XML */
    PDFA_JOB_TEXT_TO_LINK = 1 /* "-a": addresses and numbers in the text become links */
} pdfa_job_kind;

/* The first setting the job needs that is missing ("input", "output", "range", or "divide"
   for a conversion that has neither "divide" nor "ar"), or NULL when the settings are
   complete. The worker itself does not say which one it missed. */
PDFA_HOST_API const char* pdfa_settings_missing(const pdfa_settings* settings,
                                                pdfa_job_kind kind);

/* ---- Codes text ----------------------------------------------------------------------------- */

/* Encodes a plain text into a codes text (a fresh random key each time). *codes is set to a
   text the caller frees with pdfa_free. */
PDFA_HOST_API pdfa_status pdfa_codes_encode(const char* plain, char** codes);

/* Decodes a codes text; anything from its first "_" on is ignored. PDFA_E_FORMAT when it does
   not decode to UTF-8 text. *plain is set to a text the caller frees with pdfa_free. */
PDFA_HOST_API pdfa_status pdfa_codes_decode(const char* codes, char** plain);

/* ---- Stop flag ------------------------------------------------------------------------------ */

typedef struct pdfa_stop_flag pdfa_stop_flag;

/* Creates (or takes over and clears) the file "Tarn_<identifier>" in the temporary directory:
   800 zero bytes allocated on the disk, mode 0600, kept open by this process. The identifier
   must not be empty, "." or "..", nor hold "/", "|" or "=". PDFA_E_SYSTEM when the disk has no
   room for the bytes. pdfa_stop_flag_free removes the file. */
PDFA_HOST_API pdfa_status pdfa_stop_flag_create(const char* identifier, pdfa_stop_flag** flag);

/* Opens the flag file of a job some other process started; PDFA_E_ARGUMENT when there is none.
   pdfa_stop_flag_free leaves this file in place. */
PDFA_HOST_API pdfa_status pdfa_stop_flag_open(const char* identifier, pdfa_stop_flag** flag);

/* Sets byte 1 (the worker stops after the page or link it is working on) or clears it. */
PDFA_HOST_API void pdfa_stop_flag_raise(pdfa_stop_flag* flag);
PDFA_HOST_API void pdfa_stop_flag_clear(pdfa_stop_flag* flag);
/* 1 when byte 1 is set, 0 otherwise (also for NULL). */
PDFA_HOST_API int pdfa_stop_flag_is_raised(const pdfa_stop_flag* flag);
/* The file's full path. */
PDFA_HOST_API const char* pdfa_stop_flag_path(const pdfa_stop_flag* flag);
PDFA_HOST_API void pdfa_stop_flag_free(pdfa_stop_flag* flag);

/* ---- Progress listener ---------------------------------------------------------------------- */

/* Called on the listener's own thread with the message's argument: the page number the worker
   starts on ("7"), or "stop7". The worker waits until the callback has returned (at most a
   second), so a stop flag raised inside the callback is seen before the next page. */
typedef void (*pdfa_progress_callback)(const char* argument, void* user_data);

typedef struct pdfa_listener pdfa_listener;

/* Listens on "<temporary directory>/text2linksInfoThread" on a background thread. A socket file
   left there by a host that has gone is replaced; PDFA_E_SYSTEM when another host is listening
   or the socket cannot be made. */
PDFA_HOST_API pdfa_status pdfa_listener_start(pdfa_progress_callback callback, void* user_data,
                                              pdfa_listener** listener);
/* The number of messages received so far. */
PDFA_HOST_API size_t pdfa_listener_count(const pdfa_listener* listener);
/* Stops the thread (a callback under way finishes first), removes the socket file and frees
   the listener. Not to be called from inside its own callback. */
PDFA_HOST_API void pdfa_listener_free(pdfa_listener* listener);

/* ---- Jobs ----------------------------------------------------------------------------------- */

typedef struct pdfa_job pdfa_job;

/* Starts the worker: tool is the path of PDFAnnotations, or NULL to look it up in PATH. The
   settings are copied; when they hold no identifier, one is made ("host<pid>-<n>") and added, so
   that every job can be stopped. The job's stop flag file is created cleared. The worker's
   standard output and error are kept for pdfa_job_stdout and pdfa_job_stderr. PDFA_E_ARGUMENT
   when a required setting is missing (see pdfa_settings_missing) or the tool cannot be run. */
PDFA_HOST_API pdfa_status pdfa_job_start(const char* tool, pdfa_job_kind kind,
                                         const pdfa_settings* settings, pdfa_job** job);

/* Waits for the job to end, at most timeout_ms milliseconds (negative: as long as it takes).
   PDFA_RUNNING when the time ran out. When it ended, *exit_status (if not NULL) gets the
   worker's exit status, 0 to 255 (a conversion that cannot open its PDF ends with 255), or
   minus the number of the signal that ended it; the outputs are then known and the stop flag
   file is removed. */
PDFA_HOST_API pdfa_status pdfa_job_wait(pdfa_job* job, int timeout_ms, int* exit_status);

/* Asks the job to stop through its stop flag. The worker ends after the page or link it is on
   and still writes what it has; wait for it with pdfa_job_wait. Safe from any thread. */
PDFA_HOST_API void pdfa_job_stop(pdfa_job* job);

/* The identifier the job runs under (given or made). */
PDFA_HOST_API const char* pdfa_job_identifier(const pdfa_job* job);

/* After pdfa_job_wait reported the end: the files the job wrote or replaced, in page order.
   A conversion: the XML files in its output folder (or its output file and that file's
   "-w0"/"-w1" halves); a text-to-link job: its PDF. Count 0 and NULL before the end. */
PDFA_HOST_API size_t pdfa_job_output_count(const pdfa_job* job);
PDFA_HOST_API const char* pdfa_job_output(const pdfa_job* job, size_t index);

/* After the end: everything the worker wrote to standard output and to standard error. */
PDFA_HOST_API const char* pdfa_job_stdout(const pdfa_job* job);
PDFA_HOST_API const char* pdfa_job_stderr(const pdfa_job* job);

/* Frees the job. A job still running is killed and reaped first; its stop flag file is
   removed. */
PDFA_HOST_API void pdfa_job_free(pdfa_job* job);

#ifdef __cplusplus
}
#endif

#endif /* PDFANNOTATIONS_HOST_H */
