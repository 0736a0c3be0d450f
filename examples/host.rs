// A whole host in Rust: analyses the sound given first and writes the gabarit given second. Ctrl-C cancels.
use std::ffi::{c_void, CStr, CString};
use std::os::raw::{c_char, c_int};
use std::os::unix::ffi::OsStringExt;
use std::sync::atomic::{AtomicBool, Ordering};

#[link(name = "veloria-c")]
extern "C" {
    fn veloria_start(paths: *const *const c_char, count: usize, output: *const c_char, settings: *const c_void,
                     job: *mut *mut c_void, text: *mut c_char, size: usize) -> c_int;
    fn veloria_job_wait(job: *mut c_void, seconds: f64) -> c_int;
    fn veloria_job_position(job: *mut c_void, position: *mut f64) -> c_int;
    fn veloria_job_message(job: *mut c_void, text: *mut c_char, size: usize) -> c_int;
    fn veloria_job_cancel(job: *mut c_void) -> c_int;
    fn veloria_job_end(job: *mut c_void) -> c_int;
    fn signal(number: c_int, handler: extern "C" fn(c_int)) -> usize;
}

const OK: c_int = 0;
const RUNNING: c_int = 1;
const CANCELED: c_int = 2;
static INTERRUPTED: AtomicBool = AtomicBool::new(false);
extern "C" fn note_interrupt(_: c_int) {
    INTERRUPTED.store(true, Ordering::Relaxed);
}

// Returns the code that the job came to, and why.
fn analyse(sound: CString, output: CString) -> (c_int, String) {
    let mut text = [0 as c_char; 1024];
    let (mut job, settings) = (std::ptr::null_mut(), std::ptr::null());
    unsafe {
        let (path, out) = (sound.as_ptr(), output.as_ptr());
        let mut code = veloria_start(&path, 1, out, settings, &mut job, text.as_mut_ptr(), text.len());
        if code == OK {
            while veloria_job_wait(job, 0.02) == RUNNING {
                if INTERRUPTED.load(Ordering::Relaxed) {
                    veloria_job_cancel(job);
                }
                let mut position = 0.0;
                veloria_job_position(job, &mut position);
                eprint!("\r{:.0} %", 100.0 * position);
            }
            code = veloria_job_message(job, text.as_mut_ptr(), text.len());
            veloria_job_end(job);
        }
        (code, CStr::from_ptr(text.as_ptr()).to_string_lossy().into_owned())
    }
}

fn main() {
    let given: Vec<CString> = std::env::args_os().map(|a| CString::new(a.into_vec()).unwrap()).collect();
    if given.len() != 3 {
        eprintln!("usage: host SOUND OUT.sdif");
        std::process::exit(2);
    }
    unsafe { signal(2, note_interrupt) }; // Ctrl-C
    let (code, text) = analyse(given[1].clone(), given[2].clone());
    eprintln!("\r{}", if code == OK { "done" } else { &text });
    std::process::exit(if code == CANCELED { 130 } else { code.min(1) });
}
