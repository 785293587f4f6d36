/*
 * A host application written in C against libpdfannotations-host: it builds settings, runs -b
 * and -a jobs of the real PDFAnnotations, follows their progress, stops one, and reads what they
 * wrote. Usage: host_c_test PDFANNOTATIONS BOOK.pdf. Prints one line per check and a closing
 * "N passed, N failed" line; exits 1 when a check failed.
 */
#define _POSIX_C_SOURCE 200809L

#include <pdfannotations/host.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static int passed;
static int failed;
static const char* tool;
static char folder[256];

#define CHECK(condition)                                                               \
    do {                                                                               \
        if (condition) {                                                               \
            ++passed;                                                                  \
        } else {                                                                       \
            ++failed;                                                                  \
            printf("FAIL %s:%d: %s (%s)\n", __func__, __LINE__, #condition,            \
                   pdfa_last_error());                                                 \
        }                                                                              \
    } while (0)

static int endsWith(const char* text, const char* end) {
    size_t n = strlen(text), m = strlen(end);
    return n >= m && strcmp(text + n - m, end) == 0;
}

static int startsWith(const char* text, const char* start) {
    return strncmp(text, start, strlen(start)) == 0;
}

static void pathOf(char* path, size_t size, const char* name) {
    snprintf(path, size, "%s/%s", folder, name);
}

static int copyFile(const char* from, const char* to) {
    FILE* in = fopen(from, "rb");
    FILE* out = fopen(to, "wb");
    char buffer[8192];
    size_t n;
    int ok = in != NULL && out != NULL;
    while (ok && (n = fread(buffer, 1, sizeof buffer, in)) > 0) ok = fwrite(buffer, 1, n, out) == n;
    if (in != NULL) fclose(in);
    if (out != NULL) fclose(out);
    return ok;
}

/* The first bytes of a file, NUL-terminated. */
static void readStart(const char* path, char* text, size_t size) {
    FILE* in = fopen(path, "rb");
    size_t n = in != NULL ? fread(text, 1, size - 1, in) : 0;
    text[n] = '\0';
    if (in != NULL) fclose(in);
}

static void checkSettingsAndCodes(void) {
    pdfa_settings* settings = pdfa_settings_new();
    char* codes = NULL;
    char* plain = NULL;
    CHECK(pdfa_settings_set(settings, "input", "/books/a|b=c.pdf") == PDFA_OK);
    CHECK(pdfa_settings_set(settings, "range", "1-3") == PDFA_OK);
    CHECK(pdfa_settings_set(settings, "password", "x|y") == PDFA_E_ARGUMENT);
    CHECK(strcmp(pdfa_last_error(), "the value of \"password\" cannot hold \"|\" or \"=\"") == 0);
    CHECK(strcmp(pdfa_settings_text(settings), "input=/books/a:7C:b:3D:c.pdf|range=1-3") == 0);
    CHECK(strcmp(pdfa_settings_get(settings, "i"), "/books/a|b=c.pdf") == 0);
    CHECK(pdfa_settings_get(settings, "output") == NULL);
    CHECK(strcmp(pdfa_settings_missing(settings, PDFA_JOB_CONVERT), "output") == 0);
    CHECK(pdfa_settings_missing(settings, PDFA_JOB_TEXT_TO_LINK) == NULL);

    CHECK(pdfa_codes_encode(pdfa_settings_text(settings), &codes) == PDFA_OK);
    CHECK(codes != NULL && endsWith(codes, "_"));
    CHECK(pdfa_codes_decode(codes, &plain) == PDFA_OK);
    CHECK(plain != NULL && strcmp(plain, pdfa_settings_text(settings)) == 0);
    pdfa_free(plain);
    plain = NULL;
    CHECK(pdfa_codes_decode("xyz", &plain) == PDFA_E_FORMAT);
    CHECK(plain == NULL);
    CHECK(pdfa_codes_decode(NULL, &plain) == PDFA_E_ARGUMENT);
    CHECK(strcmp(pdfa_status_text(PDFA_E_FORMAT), "format error") == 0);
    pdfa_free(codes);
    pdfa_settings_free(settings);
}

static void checkStopFlag(void) {
    pdfa_stop_flag* flag = NULL;
    pdfa_stop_flag* other = NULL;
    char path[512];
    char bytes[4] = {9, 9, 9, 9};
    struct stat info;
    FILE* file;
    pathOf(path, sizeof path, "Tarn_c-flag");
    CHECK(pdfa_stop_flag_create("c-flag", &flag) == PDFA_OK);
    CHECK(strcmp(pdfa_stop_flag_path(flag), path) == 0);
    CHECK(stat(path, &info) == 0 && info.st_size == 800 && (info.st_mode & 0777) == 0600);
    CHECK(pdfa_stop_flag_is_raised(flag) == 0);
    CHECK(pdfa_stop_flag_open("c-flag", &other) == PDFA_OK);
    pdfa_stop_flag_raise(other);
    CHECK(pdfa_stop_flag_is_raised(flag) == 1);
    file = fopen(path, "rb");
    CHECK(file != NULL && fread(bytes, 1, 4, file) == 4);
    if (file != NULL) fclose(file);
    CHECK(bytes[0] == 0 && bytes[1] == 1 && bytes[2] == 0);
    pdfa_stop_flag_clear(flag);
    CHECK(pdfa_stop_flag_is_raised(other) == 0);
    pdfa_stop_flag_free(other);
    CHECK(access(path, F_OK) == 0);
    pdfa_stop_flag_free(flag);
    CHECK(access(path, F_OK) != 0);
    CHECK(pdfa_stop_flag_open("c-flag", &flag) == PDFA_E_ARGUMENT);
    CHECK(flag == NULL);
    CHECK(pdfa_stop_flag_create("a/b", &flag) == PDFA_E_ARGUMENT);
}

static void checkConvert(const char* book) {
    pdfa_settings* settings = pdfa_settings_new();
    pdfa_job* job = NULL;
    char out[512];
    char expected[600];
    char start[64];
    int status = -1;
    pathOf(out, sizeof out, "out");
    mkdir(out, 0700);
    pdfa_settings_set(settings, "input", book);
    pdfa_settings_set(settings, "output", out);
    pdfa_settings_set(settings, "range", "ALL");
    pdfa_settings_set(settings, "divide", "1");
    pdfa_settings_set(settings, "html5", "1");
    CHECK(pdfa_job_start(tool, PDFA_JOB_CONVERT, settings, &job) == PDFA_OK);
    CHECK(pdfa_job_output_count(job) == 0);
    CHECK(pdfa_job_wait(job, -1, &status) == PDFA_OK);
    CHECK(status == 0);
    CHECK(pdfa_job_output_count(job) == 6);
    snprintf(expected, sizeof expected, "%s/3-w1.xml", out);
    CHECK(pdfa_job_output_count(job) == 6 && strcmp(pdfa_job_output(job, 3), expected) == 0);
    CHECK(pdfa_job_output(job, 6) == NULL);
    readStart(expected, start, sizeof start);
    CHECK(startsWith(start, "<slide><template><type>image</type>"));
    CHECK(strcmp(pdfa_job_stdout(job), "") == 0);
    CHECK(startsWith(pdfa_job_identifier(job), "host"));
    pdfa_job_free(job);

    pdfa_settings_set(settings, "input", "/nonexistent/book.pdf");
    CHECK(pdfa_job_start(tool, PDFA_JOB_CONVERT, settings, &job) == PDFA_OK);
    CHECK(pdfa_job_wait(job, -1, &status) == PDFA_OK);
    CHECK(status == 255);
    CHECK(strcmp(pdfa_job_stdout(job), "failed to verify the password!!!\n") == 0);
    CHECK(pdfa_job_output_count(job) == 0);
    pdfa_job_free(job);

    pdfa_settings_free(settings);
    settings = pdfa_settings_new();
    pdfa_settings_set(settings, "input", book);
    CHECK(pdfa_job_start(tool, PDFA_JOB_CONVERT, settings, &job) == PDFA_E_ARGUMENT);
    CHECK(strcmp(pdfa_last_error(), "the setting \"output\" is missing") == 0);
    CHECK(job == NULL);
    pdfa_settings_free(settings);
}

/* What the progress callback saw, and the page on which it asks for a stop (0: never). */
struct Progress {
    char pages[64];
    int stopAt;
};

static void onProgress(const char* argument, void* user) {
    struct Progress* progress = user;
    pdfa_stop_flag* flag = NULL;
    strncat(progress->pages, argument, sizeof progress->pages - strlen(progress->pages) - 2);
    strcat(progress->pages, " ");
    if (progress->stopAt == 0 || atoi(argument) != progress->stopAt) return;
    if (pdfa_stop_flag_open("c-job", &flag) == PDFA_OK) pdfa_stop_flag_raise(flag);
    pdfa_stop_flag_free(flag);
}

static void runTextToLink(const char* book, struct Progress* progress, int* status,
                          size_t* outputs, const char** first) {
    pdfa_listener* listener = NULL;
    pdfa_settings* settings = pdfa_settings_new();
    pdfa_job* job = NULL;
    pdfa_settings_set(settings, "input", book);
    pdfa_settings_set(settings, "range", "ALL");
    pdfa_settings_set(settings, "id", "c-job");
    CHECK(pdfa_listener_start(onProgress, progress, &listener) == PDFA_OK);
    CHECK(pdfa_job_start(tool, PDFA_JOB_TEXT_TO_LINK, settings, &job) == PDFA_OK);
    CHECK(pdfa_job_wait(job, -1, status) == PDFA_OK);
    *outputs = pdfa_job_output_count(job);
    *first = *outputs > 0 && strcmp(pdfa_job_output(job, 0), book) == 0 ? book : NULL;
    CHECK(pdfa_listener_count(listener) > 0);
    pdfa_listener_free(listener);
    pdfa_job_free(job);
    pdfa_settings_free(settings);
}

static void checkTextToLink(const char* book) {
    struct Progress progress = {"", 0};
    int status = -1;
    size_t outputs = 0;
    const char* first = NULL;
    runTextToLink(book, &progress, &status, &outputs, &first);
    CHECK(status == 0);
    CHECK(strcmp(progress.pages, "1 2 3 4 5 ") == 0);
    CHECK(outputs == 1 && first == book);

    progress.pages[0] = '\0';
    progress.stopAt = 2;
    runTextToLink(book, &progress, &status, &outputs, &first);
    CHECK(status == 0);
    CHECK(strcmp(progress.pages, "1 2 ") == 0);
    CHECK(outputs == 1 && first == book);
}

static void checkListenerIsAlone(void) {
    pdfa_listener* first = NULL;
    pdfa_listener* second = NULL;
    CHECK(pdfa_listener_start(NULL, NULL, &first) == PDFA_OK);
    CHECK(pdfa_listener_start(NULL, NULL, &second) == PDFA_E_SYSTEM);
    CHECK(second == NULL);
    CHECK(pdfa_listener_count(first) == 0);
    pdfa_listener_free(first);
}

static void checkWorkerThatFails(void) {
    pdfa_settings* settings = pdfa_settings_new();
    pdfa_job* job = NULL;
    int status = 7;
    pdfa_settings_set(settings, "input", "x.pdf");
    pdfa_settings_set(settings, "range", "1");
    /* `sleep -a <codes>` refuses its arguments: a worker that ends with status 1. */
    CHECK(pdfa_job_start("/bin/sleep", PDFA_JOB_TEXT_TO_LINK, settings, &job) == PDFA_OK);
    CHECK(pdfa_job_wait(job, 60000, &status) == PDFA_OK);
    CHECK(status == 1);
    CHECK(strlen(pdfa_job_stderr(job)) > 0);
    pdfa_job_free(job);
    pdfa_settings_free(settings);
}

int main(int argc, char** argv) {
    char book[512];
    if (argc != 3) {
        fprintf(stderr, "usage: host_c_test PDFANNOTATIONS BOOK.pdf\n");
        return 2;
    }
    tool = argv[1];
    snprintf(folder, sizeof folder, "%s", "/tmp/pdfa-host-c-XXXXXX");
    if (mkdtemp(folder) == NULL) return 2;
    /* The stop flags and the progress socket of this test live in a folder of its own. */
    setenv("TMPDIR", folder, 1);
    pathOf(book, sizeof book, "book.pdf");
    if (!copyFile(argv[2], book)) return 2;

    checkSettingsAndCodes();
    checkStopFlag();
    checkListenerIsAlone();
    checkConvert(book);
    checkTextToLink(book);
    checkWorkerThatFails();

    {
        char command[600];
        snprintf(command, sizeof command, "rm -rf '%s'", folder);
        if (system(command) != 0) printf("could not remove %s\n", folder);
    }
    printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
