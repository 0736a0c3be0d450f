#!/usr/bin/env python3
"""Runs the workflow on a Slurm of one node that it starts on loopback: test_slurm.py [--long]

Needs slurm-wlm, munge, snakemake, marquen and gabarit. Some sounds are bad; one job is killed for its memory and taken
again with more, some are canceled, Snakemake is killed. At the end every good sound is done, byte by byte as in a plain
run, no record is lost and no job runs. --long takes 60 sounds, lets a job pass its time limit and stops the scheduler
meanwhile; it takes some minutes.
"""

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
NodeName={host} NodeAddr=127.0.0.1 CPUs={cpus} RealMemory={memory_mb} State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""

# Stands in front of marquen. One sound takes 700 MB in the first try of its job, which may take 600; one takes forever
# once; and all take a moment, so that there is time to disturb them.
STAND_IN = """#!/bin/sh
case "$*" in
*/greedy.wav*"--max_memory 440MB"*) exec python3 -c 'x = b"x" * 700000000; import time; time.sleep(20)' ;;
*/slow.wav*) if [ ! -e {here}/slow ]; then touch {here}/slow; exec sleep 600; fi ;;
esac
[ -z "$SLURM_JOB_ID" ] || sleep 0.2
exec {marquen} "$@"
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


def wait_for(condition, what, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, f"waited in vain for {what}"
        time.sleep(0.1)


class Cluster:
    """A Slurm of one node, everything below a folder."""

    def __init__(self, folder):
        self.folder = folder
        for name in ("state", "spool", "munge"):
            os.makedirs(os.path.join(folder, name), mode=0o755)
        with open(f"{folder}/munge/key", "wb", opener=lambda path, flags: os.open(path, flags, 0o600)) as key:
            key.write(os.urandom(128))
        memory_mb = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") * 9 // 10 // 2**20
        host = socket.gethostname().split(".")[0]
        facts = {"host": host, "ports": free_ports(2), "user": call("id", "-un").strip(), "cpus": os.cpu_count()}
        with open(f"{folder}/slurm.conf", "w") as file:
            file.write(CONFIGURATION.format(folder=folder, memory_mb=memory_mb, **facts))
        os.environ["SLURM_CONF"] = f"{folder}/slurm.conf"
        files = [f"--{name}-file={folder}/munge/{name}" for name in ("key", "pid", "log", "seed")]
        call("munged", *files, f"--socket={folder}/munge/socket")
        self.start_scheduler()
        call("slurmd", "-c")
        wait_for(lambda: call("sinfo", "-h", "-o", "%T").strip() == "idle", "the node")

    def start_scheduler(self):
        call("slurmctld")
        wait_for(lambda: subprocess.run(["sinfo"], capture_output=True).returncode == 0, "the scheduler")

    def stop(self, daemon):
        with open(f"{self.folder}/{daemon}") as file:
            process = int(file.read())
        os.kill(process, signal.SIGTERM)
        wait_for(lambda: not os.path.exists(f"/proc/{process}"), daemon)

    def jobs(self):
        return call("squeue", "-h", "-o", "%i").split()

    def close(self):
        for daemon in ("slurmd.pid", "slurmctld.pid", "munge/pid"):
            if os.path.exists(f"{self.folder}/{daemon}"):
                self.stop(daemon)


class Run:
    """Runs of the workflow on sounds below a folder."""

    def __init__(self, folder, is_long):
        self.sounds, self.out, stand_ins = f"{folder}/the sounds", f"{folder}/out", f"{folder}/bin"
        make_sounds.make_sounds(self.sounds, 55 if is_long else 12, 3)  # five of them bad
        for i in range(BAD - 5):
            make_sounds.write(self.sounds, f"bad/more {i}.wav", b"RIFF")
        for name in ["greedy.wav", "slow.wav"] if is_long else ["greedy.wav"]:
            shutil.copy(f"{self.sounds}/disc 0/two words.wav", f"{self.sounds}/{name}")
        for path in (self.out, stand_ins):
            os.mkdir(path)
        with open(f"{stand_ins}/marquen", "w") as file:
            file.write(STAND_IN.format(here=folder, marquen=shutil.which("marquen")))
        os.chmod(f"{stand_ins}/marquen", 0o755)
        self.environment = dict(os.environ, PATH=stand_ins + os.pathsep + os.environ["PATH"])
        self.log = open(f"{folder}/log", "w+")

    def start(self, *options):
        command = ["snakemake", "--snakefile", f"{HERE}/Snakefile", "--profile", f"{HERE}/profiles/slurm"]
        command += ["--directory", self.out, *options, "--config", f"sounds={self.sounds}", "pack_minutes=0.01"]
        command += ["mem_mb=600", "runtime=1"]
        return subprocess.Popen(command, env=self.environment, stdout=self.log, stderr=subprocess.STDOUT)

    def finish(self):
        """Whether the workflow came to its end with all sounds recorded."""
        return self.start().wait(timeout=600) == 0

    def records(self):
        return [name for _, _, names in os.walk(f"{self.out}/records") for name in names]

    def compare_with_plain(self, folder):
        """Analyses each sound by itself and compares the bytes; returns how many were done and refused."""
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

    cluster = Cluster(f"{folder}/cluster")
    try:
        run = Run(folder, is_long)
        tell("the cluster is up")
        first = run.start()
        wait_for(lambda: len(run.records()) > BAD, "records")
        first.kill()  # as kill -9
        first.wait()
        tell(f"Snakemake killed; {len(run.records())} records, {len(cluster.jobs())} jobs left behind")
        call("scancel", "--name=gabarits")
        run.start("--unlock").wait()
        second = run.start()
        wait_for(lambda: len(cluster.jobs()) >= 2, "two jobs")
        canceled = cluster.jobs()[::3]
        call("scancel", *canceled)
        tell(f"{len(canceled)} of {len(cluster.jobs())} jobs canceled")
        if is_long:
            cluster.stop("slurmctld.pid")
            time.sleep(5)
            cluster.start_scheduler()
            tell("scheduler stopped and started")
        status = second.wait(timeout=600)
        tell(f"ended with status {status}, {len(run.records())} records")
        assert status == 0 or run.finish(), "sounds were left over"
        plain = f"{folder}/plain"
        os.mkdir(plain)
        done, refused = run.compare_with_plain(plain)
        assert refused == BAD, refused
        wait_for(lambda: not cluster.jobs(), "an empty queue")
        with open(f"{cluster.folder}/slurmd.log") as file:
            ends = file.read()
        assert "exceeded memory limit" in ends
        assert not is_long or "DUE TO TIME LIMIT" in ends
        tell(f"{done} done as by plain runs, {refused} refused, nothing runs")
    except BaseException:
        run.log.seek(0)
        print(run.log.read()[-5000:])
        raise
    finally:
        cluster.close()


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as root:
        os.chmod(root, 0o755)
        main(root, sys.argv[1:] == ["--long"])
