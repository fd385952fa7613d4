// The GPUs of this machine, from C#.
using System;
using Vexil;

static class Program
{
    static void Main()
    {
        foreach (var gpu in Detector.Detect().Gpus) Console.WriteLine($"{gpu.Name}, {gpu.VramMiB ?? -1} MiB");
    }
}
