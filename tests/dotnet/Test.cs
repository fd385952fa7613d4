using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Threading.Tasks;
using Vexil;

// The assembly; the last line counts the tests.
static class Test
{
    static int passed, failed;

    static void Run(string name, Action test)
    {
        try
        {
            test();
            ++passed;
        }
        catch (Exception exception)
        {
            Console.WriteLine($"{name}: {exception}");
            ++failed;
        }
    }

    static void Equal<T>(T expected, T actual)
    {
        if (!EqualityComparer<T>.Default.Equals(expected, actual)) throw new Exception($"{actual} instead of {expected}");
    }

    static void True(bool condition) => Equal(true, condition);

    static void Fails(Status status, Action action)
    {
        try
        {
            action();
        }
        catch (VexilException exception)
        {
            Equal(status, exception.Status);
            True(exception.Message.Length > 0);
            return;
        }
        throw new Exception($"no {status}");
    }

    // With the DLL and its helper that are in the package.
    static void Shipped()
    {
        Run("isolated", () => Equal(0, Detector.Detect(new DetectOptions { Isolated = true }).Gpus.Count));
        Run("no helper", () =>
        {
            var known = new List<Snapshot>();
            Fails(Status.HelperMissing, () =>
            {
                try
                {
                    Detector.Detect(new DetectOptions { Isolated = true, Helper = "no such helper" });
                }
                catch (VexilException exception)
                {
                    known.Add(exception.Known);
                    throw;
                }
            });
            Equal(0, known.Single().Gpus.Count);
        });
    }

    // On the machine five-gpus.
    static void Simulated()
    {
        Run("values", () =>
        {
            var snapshot = Detector.Detect(new DetectOptions { Numbers = true });
            var first = snapshot.Gpus.First();
            var last = snapshot.Gpus.Last();
            Equal((Vendor.NVIDIA, GpuType.Discrete, true), (first.Vendor, first.Type, first.IsMainDisplay));
            Equal((24575L, true, true), (first.VramMiB, first.HasCuda, first.HasOpenCL));
            Equal(new NumberPair(8, 6), first.CudaCompute.Value);
            Equal(new NumberPair(0, 0), first.OpenCLNumber.Value);
            Equal(null, first.LevelZeroNumber);
            Equal("GPU-69401105-2337-a290-183c-aa7710154270", first.Uuid);
            Equal(0xC2A1UL, first.Luid.Value);
            Equal(("UHD Graphics 770", null), (last.Name, last.CudaNumber));
            Equal(new NumberPair(0, 0), last.LevelZeroNumber.Value);
            Equal(first.Id, snapshot.Monitors.First(monitor => monitor.IsMain).GpuId);
            True(snapshot.System.RamMiB > 0);
            True(snapshot.IdsJson.Contains(first.Uuid));
        });
        Run("memory", () =>
        {
            var gpus = Detector.Detect().Gpus;
            var memory = gpus.First().GetMemory();
            True(memory.FreeBytes > 0 && memory.FreeBytes < memory.TotalBytes);
            Equal(null, gpus.Last().GetMemory());
            True(Detector.GetSystemMemory().TotalBytes > 1UL << 30);
        });
        Run("saved results", () =>
        {
            var snapshot = Detector.Detect();
            var file = Path.Combine(Path.GetTempPath(), "fünf.vexil");
            File.WriteAllBytes(file, snapshot.ToBuffer());
            var loaded = Detector.Load(file);
            File.Delete(file);
            Equal(snapshot.Json, loaded.Json);
            Equal(5, Detector.Load(snapshot.ToBuffer()).Gpus.Count);
            Equal(null, loaded.Gpus.First().GetMemory());
        });
        Run("failures", () =>
        {
            Fails(Status.Unreadable, () => Detector.Load("no such file"));
            Fails(Status.Damaged, () => Detector.Load(typeof(Test).Assembly.Location));
            Fails(Status.Damaged, () => Detector.Load(new byte[0]));
            Fails(Status.Unknown, () => Detector.Detect().IdsJson.ToString());
        });
        Run("disposed snapshots", () =>
        {
            var snapshot = Detector.Detect();
            snapshot.Dispose();
            snapshot.Dispose();
            try
            {
                Equal(null, snapshot.Json);
            }
            catch (ObjectDisposedException)
            {
                return;
            }
            throw new Exception("still there");
        });
        Run("log", () =>
        {
            var lines = new List<string>();
            Detector.Detect(new DetectOptions { Log = (level, text) => lines.Add(level + " " + text) });
            True(lines.Contains("Info Detected 5 GPUs:"));
            try
            {
                Detector.Detect(new DetectOptions { Log = (level, text) => throw new FormatException() });
            }
            catch (FormatException)
            {
                return;
            }
            throw new Exception("not thrown");
        });
        Run("threads", () =>
        {
            var tasks = Enumerable.Range(0, 4).Select(_ => Detector.DetectAsync()).ToArray();
            Task.WaitAll(tasks);
            True(tasks.All(task => task.Result.Gpus.Count == 5));
        });
    }
    static int Main(string[] arguments)
    {
        if (arguments.Contains("shipped")) Shipped();
        else Simulated();
        Console.WriteLine($"{passed} passed, {failed} failed");
        return failed;
    }
}
