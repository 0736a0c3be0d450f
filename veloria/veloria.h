#pragma once

#include <string>

#if defined(VELORIA_BUILDING)
#    define VELORIA_EXPORT __attribute__((visibility("default")))
#else
#    define VELORIA_EXPORT
#endif

/// Shows the musical structure of a sound: measures how alike every moment of it is to every other moment, and
/// writes the result as a gabarit, an SDIF file with one frame per moment and one byte per other moment.
///
/// A host starts a job with process(), polls getState() or getPosition(), may ask it to stop with cancel(), reads
/// getErrorMessage() once it ended, and always ends with shutdown(). Each job has a worker thread of its own; jobs
/// don't know of each other. One handle belongs to one host thread at a time.
///
/// What is wrong with a call is thrown to the caller; what goes wrong inside the analysis is stored in the handle.
/// Every function that takes a handle throws std::invalid_argument "internal error: invalid process handle" for a
/// null one and for memory that holds no job; after shutdown() the memory is no longer the library's, and no host
/// must count on this check. All of them but getMaxPosition() throw std::runtime_error "error locking mutex" if the
/// job's lock fails.
///
/// A process forked while jobs run may inherit a lock that nobody gives back: it must start no job before an exec.
///
/// One failure is neither thrown nor stored: **without memory to load the sound, the process ends** with status 1
/// and two lines on the standard error stream.
namespace veloria {

/// What is measured of each moment of the sound.
enum features_type : int {
    timbre = 0, ///< sound color: mel cepstrum (13 values) and octave-band spectral contrast (12), 75 a second
    harmo = 1,  ///< harmony: pitch class profile (12 values), 37.5 a second
    mixed = 2   ///< both, 37.5 a second
};

/// How the moments within a modeling window are summed up.
enum modeling_type : int {
    mean = 0,    ///< mean of each feature
    meanvar = 1, ///< mean and variance of each feature
    fft = 2,     ///< modulation spectrum of each feature: its mean and three bands
    mph = 3      ///< histogram of the transitions between the leading features
};

/// What has become of a job.
enum process_state : int {
    process_running = 0,   ///< the worker runs
    process_finished = 1,  ///< the file is complete
    process_canceling = 2, ///< the worker still runs and was asked to stop
    process_canceled = 3,  ///< the worker ended after it was asked to stop
    process_failed = 4     ///< the worker ended with an error; getErrorMessage() gives it
};

/// A job. What is in it is the library's own.
struct process_handle;

/// Stores the settings to begin with. Never throws.
/// @param[out] features        `mixed`
/// @param[out] modeling        `mean`
/// @param[out] modeling_window 1.0 s
/// @param[out] modeling_step   0.5 s
VELORIA_EXPORT void getDefaultSettings(features_type& features, modeling_type& modeling, double& modeling_window,
                                       double& modeling_step);

/// The version of the analysis. Never throws.
/// @return as it is written into each file: "1.8.2"
VELORIA_EXPORT const char* getVersion();

/// Opens the sound, starts a job and returns. Nothing that is passed has to outlive the call.
/// @param path_count      number of sound files; several are the files of one sound, typically one per channel,
///                        of equal rate and length, and are taken as the mean of all their channels
/// @param paths           the files, any format that libsndfile opens
/// @param output_path     the SDIF file to write
/// @param features        what is compared
/// @param modeling        how the moments of a window are summed up
/// @param modeling_window length of sound that one row of the picture sums up, seconds
/// @param modeling_step   distance of two rows, seconds
/// @return the job; end it with shutdown()
/// @throws std::out_of_range "invalid number of input paths", "invalid modeling window", "invalid modeling step"
/// @throws std::invalid_argument "invalid input paths", "invalid output path", "invalid path at position N"
/// @throws std::logic_error "invalid feature selection", "invalid modeling specification"
/// @throws std::runtime_error "error opening file 'PATH'"; "invalid split files: ..." for several files that
///         differ in rate or length; "error creating mutex"
/// @throws std::runtime_error* "internal error on thread creation": **a pointer**, which no handler for
///         std::exception catches; whoever catches it deletes it
/// @throws std::bad_alloc
VELORIA_EXPORT process_handle* process(int path_count, const char** paths, const char* output_path,
                                       features_type features, modeling_type modeling, double modeling_window,
                                       double modeling_step);

/// The position of a job that is done.
/// @param handle the job
/// @return 1.0
VELORIA_EXPORT double getMaxPosition(process_handle* handle);

/// How far the job is. May stand still or step back by a little where one stage follows another.
/// @param handle the job
/// @return from 0.0 to 1.0 while the worker runs, NaN instead if the job's window or step is NaN or infinite; 1.0 once
///         it finished, -1.0 once it failed or was canceled
VELORIA_EXPORT double getPosition(process_handle* handle);

/// What has become of the job.
/// @param handle the job
/// @return the state at the moment of the call
VELORIA_EXPORT process_state getState(process_handle* handle);

/// Why the job failed or was canceled; waits for the worker's thread to be gone.
/// @param handle the job, ended
/// @return empty if the job finished; valid until shutdown(), and changed by a later cancel()
/// @throws std::logic_error "error message requested while process is still running"
VELORIA_EXPORT const std::string& getErrorMessage(process_handle* handle);

/// Asks the worker to stop; it does so at its next report. On a job whose thread is gone, after getErrorMessage() or
/// cancel() with `wait`, it only stores "processing was canceled", which marks even a finished job as failed.
/// @param handle the job
/// @param wait   also wait for the worker's thread to be gone. Only for a job that has ended: **on a running one the
///               call holds the lock that the worker needs and does not return.** Cancel a running job with `wait`
///               false and poll until its state is process_canceled or process_failed.
VELORIA_EXPORT void cancel(process_handle* handle, bool wait);

/// Ends the job and frees everything; the handle and what getErrorMessage() returned are dead from then on.
/// @param handle the job, ended
/// @throws std::logic_error "shutdown of ongoing process"; the handle stays valid
VELORIA_EXPORT void shutdown(process_handle* handle);

} // namespace veloria
