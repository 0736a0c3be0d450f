#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#    define VELORIA_C_API extern "C" __attribute__((visibility("default")))
#else
#    define VELORIA_C_API
#endif

/// @file
/// The analysis of `veloria/veloria.h` for C, and for whatever calls C: `libveloria-c`. C99.
///
/// A host starts a job from files or from samples in memory, waits for it or asks how far it is, may cancel it, and
/// ends it. Nothing is ever thrown out of these functions: each answers with a code, and those that can fail for many
/// reasons also write a text.
///
/// **Jobs** are numbers in the shape of a pointer, each used once: a job that is null, that was ended, or that was
/// never given out is refused with VELORIA_INVALID_JOB and not followed. Any thread may call any function on any job at
/// any time. After a fork the child has none of its parent's jobs, and may start its own only if none ran at that
/// moment.
///
/// **Texts** are UTF-8 and end with a zero. `text` gets as much as fits in `text_size` bytes, the empty text where
/// nothing is wrong; null where nobody wants it.
///
/// **Structs** begin with their size, so that later versions can add members. Clear them first: zero in any other
/// member means the default.
///
/// Samples in memory and results in memory take a file without a name (memfd_create) and want /proc.

/// What a call came to.
typedef enum veloria_code {
    VELORIA_OK = 0,               ///< done
    VELORIA_RUNNING = 1,          ///< the job has not ended, or not in the time allowed
    VELORIA_CANCELED = 2,         ///< the job ended after it was asked to stop
    VELORIA_FAILED = 3,           ///< the sound, the file or the system: the text gives the reason
    VELORIA_INVALID_ARGUMENT = 4, ///< nothing was done
    VELORIA_INVALID_JOB = 5,      ///< no job of this process: null, ended, or never given out
    VELORIA_NO_MEMORY = 6         ///< or less than the job would take: then nothing was started
} veloria_code;

/// What is measured of each moment of the sound; 0 stands for VELORIA_MIXED.
typedef enum veloria_features {
    VELORIA_TIMBRE = 1, ///< sound color: mel cepstrum and octave-band spectral contrast
    VELORIA_HARMO = 2,  ///< harmony: pitch class profile
    VELORIA_MIXED = 3   ///< both
} veloria_features;

/// How the moments within a modeling window are summed up; 0 stands for VELORIA_MEAN.
typedef enum veloria_modeling {
    VELORIA_MEAN = 1,    ///< mean of each feature
    VELORIA_MEANVAR = 2, ///< mean and variance of each feature
    VELORIA_FFT = 3,     ///< modulation spectrum of each feature
    VELORIA_MPH = 4      ///< histogram of the transitions between the leading features
} veloria_modeling;

/// What has become of a job.
typedef enum veloria_state {
    VELORIA_STATE_RUNNING = 0,   ///< the analysis runs
    VELORIA_STATE_FINISHED = 1,  ///< the gabarit is complete
    VELORIA_STATE_CANCELING = 2, ///< the analysis still runs and was asked to stop
    VELORIA_STATE_CANCELED = 3,  ///< the job ended after it was asked to stop
    VELORIA_STATE_FAILED = 4     ///< the job ended with an error, see veloria_job_message()
} veloria_state;

/// Type of samples in memory, in the byte order of the machine.
typedef enum veloria_sample_type {
    VELORIA_FLOAT32 = 1, ///< full scale is 1.0
    VELORIA_FLOAT64 = 2, ///< full scale is 1.0
    VELORIA_INT16 = 3    ///< full scale is 32768
} veloria_sample_type;

/// How a sound is analyzed.
typedef struct veloria_settings {
    size_t size;           ///< sizeof(veloria_settings)
    int features;          ///< a veloria_features; 0: VELORIA_MIXED
    int modeling;          ///< a veloria_modeling; 0: VELORIA_MEAN
    double window_seconds; ///< length of sound that one moment stands for; 0: 1.0
    double step_seconds;   ///< distance of two moments; 0: 0.5
    uint64_t max_memory;   ///< bytes that a job may take; 0: what the machine has free when it starts
} veloria_settings;

/// A sound in memory.
typedef struct veloria_samples {
    size_t size;      ///< sizeof(veloria_samples)
    const void* data; ///< frames x channels samples, interleaved; null for no frames
    int type;         ///< a veloria_sample_type
    int channels;     ///< 1 to 1024; they are taken as their mean
    uint64_t frames;  ///< at most 2147483647
    int rate_hz;      ///< frames a second
} veloria_samples;

/// A job. Not to be looked into: it is no address.
typedef struct veloria_job veloria_job;

/// @return the version of the analysis, as it is written into each gabarit: "1.8.2"
VELORIA_C_API const char* veloria_version(void);

/// @param features a veloria_features
/// @return its word, such as "mixed"; null for other numbers
VELORIA_C_API const char* veloria_features_word(int features);

/// @param modeling a veloria_modeling
/// @return its word, such as "meanvar"; null for other numbers
VELORIA_C_API const char* veloria_modeling_word(int modeling);

/// @param state a veloria_state
/// @return its word, such as "finished"; null for other numbers
VELORIA_C_API const char* veloria_state_word(int state);

/// @param code a veloria_code
/// @return its words, such as "no job of this process"; null for other numbers
VELORIA_C_API const char* veloria_code_word(int code);

/// What a job would take: the reader, the sound, the features, the largest stage, and its result in memory. A start
/// refuses what is more than veloria_settings::max_memory; of a pipe nobody knows.
/// @param      paths      the files of one sound; null for samples
/// @param      path_count how many
/// @param      samples    the sound; null for files
/// @param      settings   null for the defaults
/// @param[out] bytes      the figure, right within a fourth
/// @param[out] text       why there is none, such as a file that doesn't open
/// @param      text_size  bytes that `text` has room for
/// @return VELORIA_OK, VELORIA_FAILED, VELORIA_INVALID_ARGUMENT, VELORIA_NO_MEMORY
VELORIA_C_API veloria_code veloria_memory(const char* const* paths, size_t path_count, const veloria_samples* samples,
                                          const veloria_settings* settings, uint64_t* bytes, char* text,
                                          size_t text_size);

/// Opens the sound, starts a job and returns. Nothing that is passed has to outlive the call.
/// @param      paths       the files of one sound, any format that libsndfile opens; several, typically one per
///                         channel, are of equal rate and length
/// @param      path_count  how many
/// @param      output_path the gabarit to write, an SDIF file; null to have the result in memory alone
/// @param      settings    null for the defaults
/// @param[out] job         the job, to be ended with veloria_job_end(); null if none was started
/// @param[out] text        why none was started
/// @param      text_size   bytes that `text` has room for
/// @return VELORIA_OK; VELORIA_INVALID_ARGUMENT; VELORIA_FAILED, as for a file that doesn't open; VELORIA_NO_MEMORY
VELORIA_C_API veloria_code veloria_start(const char* const* paths, size_t path_count, const char* output_path,
                                         const veloria_settings* settings, veloria_job** job, char* text,
                                         size_t text_size);

/// The same for samples in memory. They are copied, and the copy is gone when the analysis has loaded them. The
/// result has the bytes and times that a file of these samples has.
/// The gabarit records the path of the copy, /proc/self/fd/ and a number, as the sound's name.
/// @param      samples     the sound; numbers that are infinite or none are taken as they come
/// @param      output_path the gabarit to write, an SDIF file; null to have the result in memory alone
/// @param      settings    null for the defaults
/// @param[out] job         the job, to be ended with veloria_job_end(); null if none was started
/// @param[out] text        why none was started
/// @param      text_size   bytes that `text` has room for
/// @return as veloria_start()
VELORIA_C_API veloria_code veloria_start_samples(const veloria_samples* samples, const char* output_path,
                                                 const veloria_settings* settings, veloria_job** job, char* text,
                                                 size_t text_size);

/// What has become of a job.
/// @param      job   the job
/// @param[out] state a veloria_state
/// @return VELORIA_OK, VELORIA_INVALID_JOB, VELORIA_INVALID_ARGUMENT for a null `state`
VELORIA_C_API veloria_code veloria_job_state(veloria_job* job, int* state);

/// How far a job is. Never steps back.
/// @param      job      the job
/// @param[out] position from 0.0 to 1.0, and 1.0 once it finished; of a job that failed or was canceled, where it ended
/// @return VELORIA_OK, VELORIA_INVALID_JOB, VELORIA_INVALID_ARGUMENT for a null `position`
VELORIA_C_API veloria_code veloria_job_position(veloria_job* job, double* position);

/// Why a job failed or was canceled.
/// @param      job       the job
/// @param[out] text      empty if the job finished or still runs
/// @param      text_size bytes that `text` has room for
/// @return VELORIA_OK if the job finished, else VELORIA_RUNNING, VELORIA_CANCELED, VELORIA_FAILED, VELORIA_INVALID_JOB
VELORIA_C_API veloria_code veloria_job_message(veloria_job* job, char* text, size_t text_size);

/// Asks a job to stop, and returns at once: the job ends at its next report. No effect on a job that has ended.
/// @param job the job
/// @return VELORIA_OK, VELORIA_INVALID_JOB
VELORIA_C_API veloria_code veloria_job_cancel(veloria_job* job);

/// Waits until a job has ended.
/// @param job     the job
/// @param seconds at most so long; negative or infinite for as long as it takes
/// @return VELORIA_OK if the job finished, else VELORIA_RUNNING, VELORIA_CANCELED, VELORIA_FAILED,
///         VELORIA_INVALID_JOB, also if another thread ends the job meanwhile, VELORIA_INVALID_ARGUMENT for a NaN
VELORIA_C_API veloria_code veloria_job_wait(veloria_job* job, double seconds);

/// The number of moments in a finished job's gabarit, from memory or from the file at the path given at the start.
/// @param      job       the job
/// @param[out] n         so many times, and n * n similarities
/// @param[out] text      why there is none
/// @param      text_size bytes that `text` has room for
/// @return VELORIA_OK; VELORIA_RUNNING, VELORIA_CANCELED, VELORIA_FAILED also if there is no whole gabarit at the path
///         any more; VELORIA_INVALID_JOB, VELORIA_INVALID_ARGUMENT, VELORIA_NO_MEMORY
VELORIA_C_API veloria_code veloria_job_size(veloria_job* job, size_t* n, char* text, size_t text_size);

/// Copies a finished job's gabarit out.
/// @param      job        the job
/// @param      n          as veloria_job_size() reported it
/// @param[out] times      n moments, seconds; null if nobody wants them
/// @param[out] similarity n * n bytes, how alike two moments are, 255: the same; symmetric; null if nobody wants them
/// @param[out] text       why not
/// @param      text_size  bytes that `text` has room for
/// @return as veloria_job_size(); VELORIA_INVALID_ARGUMENT for another n. What was copied before a failure means
///         nothing.
VELORIA_C_API veloria_code veloria_job_result(veloria_job* job, size_t n, double* times, uint8_t* similarity,
                                              char* text, size_t text_size);

/// Ends a job and frees all of it. One that still runs is canceled and waited for.
/// @param job the job; no job from then on
/// @return VELORIA_OK, VELORIA_INVALID_JOB; VELORIA_FAILED if the system gives no lock: the job stays
VELORIA_C_API veloria_code veloria_job_end(veloria_job* job);
