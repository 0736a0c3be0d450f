#!/usr/bin/env python3
"""Runs the workflow on a Slurm of one node that it starts on loopback: test_slurm.py [--long]

Needs slurm-wlm, munge, snakemake, marquen and gabarit. Some sounds are bad; one job is killed for its memory and taken
again with more, some are canceled, Snakemake is killed. At the end every good sound is done, byte by byte as in a plain
run, no record is lost and no job runs. --long takes 60 sounds, lets a job pass its time limit and stops the scheduler
meanwhile; it takes some minutes.
"""

import ctypes
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
import archive  # noqa: E402
import make_sounds  # noqa: E402

os.environ["PATH"] += ":/usr/sbin"
BAD = 8

CONFIGURATION = """ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
SlurmUser={user}
SlurmdUser={user}
SlurmdParameters=config_overrides
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core_Memory
SchedulerParameters=batch_sched_delay=0,sched_interval=1
JobAcctGatherType=jobacct_gather/linux
JobAcctGatherFrequency=task=1
JobAcctGatherParams=OverMemoryKill
AccountingStorageType=accounting_storage/none
MpiDefault=none
SwitchType=switch/none
MailProg=/bin/true
ReturnToService=2
KillWait=2
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 RealMemory=4000 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""

# Stands in front of marquen. While the file "hold" is there, all but five calls for good sounds wait: so there are jobs to
# disturb, however fast the machine is. In the second run one sound takes 900 MB, once, and then won't do with the memory
# of a first try; one takes forever, once.
STAND_IN = """#!/bin/sh
cd {here}
if [ -n "$SLURM_JOB_ID" ]; then
    case "$*" in
    */bad/*) ;;
    */greedy.wav* | */slow.wav*) [ -e second ] || exit 4 ;;
    *) mktemp calls/XXXXXXXX >/dev/null ;;
    esac
    case "$*" in
    */bad/*) ;;
    *) while [ -e hold ] && [ "$(ls calls | wc -l)" -gt 5 ]; do sleep 0.1; done ;;
    esac
    case "$*" in
    */greedy.wav*)
        if [ ! -e greedy ]; then touch greedy; exec python3 greedy.py; fi
        case "$*" in *"--max_memory 260MB"*) exit 4 ;; esac ;;
    */slow.wav*) if [ ! -e slow ]; then touch slow; exec sleep 600; fi ;;
    esac
fi
cd "$OLDPWD"
exec {marquen} "$@"
"""
GREEDY = """import time
taken = []
for _ in range(18):
    taken.append(b"x" * 50000000)
    time.sleep(0.3)
time.sleep(600)
"""


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def call(*command, **more):
    return subprocess.run(command, check=True, text=True, capture_output=True, **more).stdout


def wait_for(condition, what, seconds=300):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, f"waited in vain for {what}"
        time.sleep(0.1)


def end_with_parent():
    """Lets the kernel end a child as soon as this process is gone, also by kill -9."""
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG


class Cluster:
    """A Slurm of one node, everything below a folder, its daemons children of this process.

    It promises two cores and 4 GB, whatever the machine has.
    """

    def __init__(self, folder):
        self.folder = folder
        self.daemons = {}

    def __enter__(self):
        for name in ("state", "spool", "munge"):
            os.makedirs(os.path.join(self.folder, name), mode=0o755)
        with open(f"{self.folder}/munge/key", "wb", opener=lambda path, flags: os.open(path, flags, 0o600)) as key:
            key.write(os.urandom(128))
        facts = {"host": socket.gethostname().split(".")[0], "ports": free_ports(2), "user": call("id", "-un").strip()}
        with open(f"{self.folder}/slurm.conf", "w") as file:
            file.write(CONFIGURATION.format(folder=self.folder, **facts))
        os.environ["SLURM_CONF"] = f"{self.folder}/slurm.conf"
        try:
            files = [f"--{name}-file={self.folder}/munge/{name}" for name in ("key", "pid", "log", "seed")]
            self.start("munged", "--foreground", "--force", *files, f"--socket={self.folder}/munge/socket")
            wait_for(lambda: os.path.exists(f"{self.folder}/munge/socket"), "munged")
            self.start_scheduler()
            self.start("slurmd", "-D", "-c")
            wait_for(lambda: call("sinfo", "-h", "-o", "%T").strip() == "idle", "the node")
        except BaseException:
            self.__exit__()
            raise
        return self

    def start(self, *command):
        with open(f"{self.folder}/{command[0]}.out", "a") as out:
            daemon = subprocess.Popen(command, stdout=out, stderr=out, preexec_fn=end_with_parent)
        self.daemons[command[0]] = daemon

    def start_scheduler(self):
        self.start("slurmctld", "-D")
        wait_for(lambda: subprocess.run(["sinfo"], capture_output=True).returncode == 0, "the scheduler")

    def stop(self, name):
        daemon = self.daemons.pop(name)
        daemon.terminate()
        try:
            daemon.wait(timeout=60)
        except subprocess.TimeoutExpired:
            daemon.kill()
            daemon.wait()

    def jobs(self):
        return call("squeue", "-h", "-o", "%i").split()

    def __exit__(self, *_):
        if "slurmctld" in self.daemons:
            subprocess.run(["scancel", "--name=gabarits"], capture_output=True, timeout=60)
        for name in list(self.daemons)[::-1]:
            self.stop(name)


class Run:
    """Runs of the workflow on sounds below a folder."""

    def __init__(self, folder, is_long):
        self.sounds, self.out, stand_ins = f"{folder}/the sounds", f"{folder}/out", f"{folder}/bin"
        make_sounds.make_sounds(self.sounds, 58 if is_long else 15, 3, BAD)
        for name in ["greedy.wav", "slow.wav"] if is_long else ["greedy.wav"]:
            shutil.copy(f"{self.sounds}/disc 0/two words.wav", f"{self.sounds}/{name}")
        for path in (self.out, stand_ins, f"{folder}/calls"):
            os.mkdir(path)
        with open(f"{stand_ins}/marquen", "w") as file:
            file.write(STAND_IN.format(here=folder, marquen=shutil.which("marquen")))
        os.chmod(f"{stand_ins}/marquen", 0o755)
        with open(f"{folder}/greedy.py", "w") as file:
            file.write(GREEDY)
        # The user may have no home for the cache of Snakemake.
        more = {"PATH": stand_ins + os.pathsep + os.environ["PATH"], "XDG_CACHE_HOME": f"{folder}/cache"}
        self.environment = {**os.environ, **more}
        self.log = open(f"{folder}/log", "w+")

    def start(self, *options):
        command = ["snakemake", "--snakefile", f"{HERE}/Snakefile", "--profile", f"{HERE}/profiles/slurm"]
        command += ["--directory", self.out, *options, "--config", f"sounds={self.sounds}", "pack_minutes=0.001"]
        command += ["mem_mb=400", "runtime=1"]
        return subprocess.Popen(
            command, env=self.environment, stdout=self.log, stderr=subprocess.STDOUT, preexec_fn=end_with_parent
        )

    def finish(self):
        """Whether the workflow came to its end with all sounds recorded."""
        return self.start().wait(timeout=900) == 0

    def records(self):
        return [name for _, _, names in os.walk(f"{self.out}/records") for name in names]

    def processes(self):
        """What runs on these results."""
        found = []
        for process in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{process}/cmdline", "rb") as file:
                    command = file.read()
            except OSError:  # gone meanwhile
                continue
            if os.fsencode(self.out) in command or os.fsencode(self.sounds) in command:
                found.append(process)
        return found

    def compare_with_plain(self, folder):
        """Analyzes each sound by itself and compares the bytes; returns how many were done and refused."""
        done = refused = 0
        for sound in archive.find_sounds(self.sounds)[0]:
            gabarit = archive.gabarit_of(archive.to_id(sound))
            os.makedirs(os.path.dirname(f"{folder}/{gabarit}"), exist_ok=True)
            command = ["marquen", "--quiet", f"--input={self.sounds}/{sound}", "--similarity", gabarit]
            if subprocess.run(command, cwd=folder, stderr=subprocess.DEVNULL).returncode == 0:
                assert call("cmp", f"{folder}/{gabarit}", f"{self.out}/{gabarit}") == ""
                done += 1
            else:
                assert not os.path.exists(f"{self.out}/{gabarit}"), sound
                refused += 1
        assert len(self.records()) == done + refused
        return done, refused


def main(folder, is_long):
    begin = time.monotonic()

    def tell(text):
        print(f"{time.monotonic() - begin:5.0f} s  {text}", flush=True)

    def set_flag(name):
        open(f"{folder}/{name}", "w").close()

    with Cluster(f"{folder}/cluster") as cluster:
        run = Run(folder, is_long)
        try:
            tell("the cluster is up")
            set_flag("hold")
            first = run.start()
            wait_for(lambda: len(run.records()) >= 3, "records")
            first.kill()  # as kill -9
            first.wait()
            tell(f"Snakemake killed; {len(run.records())} records, {len(cluster.jobs())} jobs left behind")
            call("scancel", "--name=gabarits")
            wait_for(lambda: not cluster.jobs(), "an empty queue")
            run.start("--unlock").wait()
            set_flag("second")
            second = run.start()
            wait_for(lambda: len(cluster.jobs()) >= 3, "three jobs")
            there = cluster.jobs()
            subprocess.run(["scancel", *there[::3]])  # not checked: one may have ended meanwhile
            tell(f"{len(there[::3])} of {len(there)} jobs canceled")
            if is_long:
                cluster.stop("slurmctld")
                time.sleep(5)
                cluster.start_scheduler()
                tell("scheduler stopped and started")
            os.remove(f"{folder}/hold")
            status = second.wait(timeout=900)
            tell(f"ended with status {status}, {len(run.records())} records")
            assert status == 0 or run.finish(), "sounds were left over"
            plain = f"{folder}/plain"
            os.mkdir(plain)
            done, refused = run.compare_with_plain(plain)
            assert refused == BAD, refused
            wait_for(lambda: not cluster.jobs() and not run.processes(), "the end of all jobs")
            with open(f"{cluster.folder}/slurmd.log") as file:
                ends = file.read()
            assert "exceeded memory limit" in ends
            assert not is_long or "DUE TO TIME LIMIT" in ends
            tell(f"{done} done as by plain runs, {refused} refused, nothing runs")
        except BaseException:
            run.log.seek(0)
            print(run.log.read()[-5000:])
            raise


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended by SIGTERM"))
    with tempfile.TemporaryDirectory() as root:
        os.chmod(root, 0o755)
        main(root, sys.argv[1:] == ["--long"])
