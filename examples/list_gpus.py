"""The GPUs of this machine, from Python."""
import vexil

for gpu in vexil.detect().gpus:
    print(f"{gpu.name}, {-1 if gpu.vram_mib is None else gpu.vram_mib} MiB")
