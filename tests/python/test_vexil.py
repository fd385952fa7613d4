"""The package on the machine five-gpus. test_vexil.py FOLDER"""

import contextlib
import gc
import io
import pathlib
import runpy
import sys
import threading
import unittest

import vexil
from vexil import _c

folder = pathlib.Path(sys.argv.pop())


class PackageTest(unittest.TestCase):
    def test_values(self):
        first, *_, last = vexil.detect(numbers=True).gpus
        self.assertEqual((first.vendor, first.type, first.is_main_display), (vexil.Vendor.NVIDIA, vexil.GPUType.DISCRETE, True))
        self.assertEqual((first.cuda_compute, first.opencl_number, first.level_zero_number), ((8, 6), (0, 0), None))
        self.assertEqual((first.uuid, first.luid), ("GPU-69401105-2337-a290-183c-aa7710154270", 0xC2A1))
        self.assertEqual((last.name, last.cuda_number, last.level_zero_number), ("UHD Graphics 770", None, (0, 0)))

    def test_memory(self):
        first, *_, last = vexil.detect().gpus
        memory = first.memory()
        self.assertTrue(0 < memory.free_bytes < memory.total_bytes)
        self.assertIsNone(last.memory())
        self.assertGreater(vexil.system_memory().total_bytes, 2**30)

    def test_saved_results(self):
        snapshot = vexil.detect()
        path = folder / "fünf.vexil"
        path.write_bytes(snapshot.buffer)
        loaded = vexil.load(path)
        self.assertEqual(loaded.json, snapshot.json)
        self.assertEqual(loaded.gpus, snapshot.gpus)
        self.assertEqual(vexil.load_buffer(snapshot.buffer).monitors, snapshot.monitors)
        self.assertIsNone(loaded.gpus[0].memory())

    def test_gpus_keep_their_snapshot(self):
        gpu = vexil.detect().gpus[0]
        gc.collect()
        self.assertIsNotNone(gpu.memory())

    def test_snapshots_are_released(self):
        snapshot = vexil.detect()
        handle = snapshot._handle.value
        del snapshot
        gc.collect()
        self.assertEqual(_c.library.vexil_release(handle), vexil.Status.NO_SNAPSHOT)

    def test_failures(self):
        cases = [
            (vexil.Status.UNREADABLE, lambda: vexil.load("/no/such/file")),
            (vexil.Status.DAMAGED, lambda: vexil.load(__file__)),
            (vexil.Status.DAMAGED, lambda: vexil.load_buffer(b"")),
            (vexil.Status.UNKNOWN, lambda: vexil.detect().ids),
        ]
        for status, call in cases:
            with self.assertRaises(vexil.Error) as raised:
                call()
            self.assertEqual(raised.exception.status, status)
            self.assertNotEqual(str(raised.exception), "")

    def test_log(self):
        lines = []
        vexil.detect(log=lambda level, text: lines.append((level, text)))
        self.assertIn((vexil.LogLevel.INFO, "Detected 5 GPUs:"), lines)

        def fail(level, text):
            raise KeyError(text)

        with self.assertRaises(KeyError):
            vexil.detect(log=fail)

    def test_threads(self):
        found = []
        threads = [threading.Thread(target=lambda: found.append(len(vexil.detect().gpus))) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(found, [5] * 4)

    def run_module(self, *arguments):
        output = io.StringIO()
        sys.argv[1:] = arguments
        with contextlib.redirect_stdout(output), self.assertRaises(SystemExit) as ended:
            runpy.run_module("vexil", run_name="__main__")
        return ended.exception.code, output.getvalue()

    def test_command(self):
        status, output = self.run_module()
        self.assertEqual(status, 0)
        self.assertIn("GeForce RTX 3090, discrete, 24575 MiB VRAM, PCI:1:0, main display\n", output)
        status, output = self.run_module("--json", "--numbers")
        self.assertIn('"cuda_number": 0,', output)

    def test_every_function_is_declared(self):
        header = (pathlib.Path(__file__).parents[2] / "c_interface/vexil_c.h").read_text()
        declared = [line.split("(")[0].split()[-1].lstrip("*") for line in header.splitlines() if line.startswith("VEXIL_C_API")]
        self.assertEqual([name for name, *_ in _c._functions], declared)


if __name__ == "__main__":
    unittest.main()
