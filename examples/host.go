// A whole host in Go: analyses the sound given first and writes the gabarit given second. Ctrl-C cancels.
package main

// #cgo LDFLAGS: -lveloria-c
// #include <stdlib.h>
// #include <veloria/veloria_c.h>
import "C"

import (
	"fmt"
	"os"
	"os/signal"
	"unsafe"
)

func analyse(sound, output string) (C.veloria_code, string) {
	interrupts := make(chan os.Signal, 1)
	signal.Notify(interrupts, os.Interrupt)
	path, out, text := C.CString(sound), C.CString(output), (*C.char)(C.calloc(1, 1024))
	for _, block := range []*C.char{path, out, text} {
		defer C.free(unsafe.Pointer(block))
	}
	var job *C.veloria_job
	if code := C.veloria_start(&path, 1, out, nil, &job, text, 1024); code != C.VELORIA_OK {
		return code, C.GoString(text)
	}
	defer C.veloria_job_end(job)
	for C.veloria_job_wait(job, 0.02) == C.VELORIA_RUNNING {
		select {
		case <-interrupts:
			C.veloria_job_cancel(job)
		default:
		}
		var position C.double
		C.veloria_job_position(job, &position)
		fmt.Fprintf(os.Stderr, "\r%.0f %%", 100*position)
	}
	return C.veloria_job_message(job, text, 1024), C.GoString(text)
}

func main() {
	if len(os.Args) != 3 {
		fmt.Fprintln(os.Stderr, "usage: host SOUND OUT.sdif")
		os.Exit(2)
	}
	code, text := analyse(os.Args[1], os.Args[2])
	switch code {
	case C.VELORIA_OK:
		fmt.Fprintln(os.Stderr, "\rdone")
	case C.VELORIA_CANCELED:
		fmt.Fprintln(os.Stderr, "\r"+text)
		os.Exit(130)
	default:
		fmt.Fprintln(os.Stderr, "\r"+text)
		os.Exit(1)
	}
}
