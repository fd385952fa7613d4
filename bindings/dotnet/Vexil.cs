using System;
using System.Collections.Generic;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading.Tasks;

namespace Vexil
{
    /// <summary>Who made a GPU.</summary>
    public enum Vendor { Unknown = 0, NVIDIA = 1, AMD = 2, Intel = 3 }

    /// <summary>What a GPU is.</summary>
    public enum GpuType { Unknown = 0, Integrated = 1, Discrete = 2, External = 3 }

    /// <summary>How important a line of the log is.</summary>
    public enum LogLevel { Debug = 0, Info = 1, Warning = 2, Error = 3 }

    /// <summary>What a call failed with.</summary>
    public enum Status
    {
        InvalidArgument = 1,
        InvalidSize = 2,
        NoSnapshot = 3,
        OutOfMemory = 4,
        Busy = 5,
        Unreadable = 6,
        Damaged = 7,
        Unknown = 8,
        Failed = 9,
        HelperMissing = 10,
        HelperTimedOut = 11,
        HelperCrashed = 12,
        HelperNoAnswer = 13
    }

    /// <summary>A call that failed.</summary>
    public sealed class VexilException : Exception
    {
        internal VexilException(int status, Snapshot known) : base(Native.Text(Native.vexil_last_error()))
        {
            Status = (Status)status;
            Known = known;
        }

        public Status Status { get; }

        /// <summary>What is known all the same, where a helper program failed; null otherwise.</summary>
        public Snapshot Known { get; }
    }

    /// <summary>Bytes at one moment.</summary>
    public sealed class Memory
    {
        internal Memory(in Native.Memory memory)
        {
            FreeBytes = memory.free_bytes;
            TotalBytes = memory.total_bytes;
        }

        public ulong FreeBytes { get; }
        public ulong TotalBytes { get; }
    }

    /// <summary>A pair of numbers that belong together, such as a platform's and a device's.</summary>
    public readonly struct NumberPair : IEquatable<NumberPair>
    {
        public NumberPair(int first, int second)
        {
            First = first;
            Second = second;
        }

        public int First { get; }
        public int Second { get; }

        public bool Equals(NumberPair other) => First == other.First && Second == other.Second;
        public override bool Equals(object other) => other is NumberPair pair && Equals(pair);
        public override int GetHashCode() => First * 31 + Second;
        public override string ToString() => First + "." + Second;
    }

    /// <summary>A GPU. What is not known is null, or an empty text.</summary>
    public sealed class Gpu
    {
        private readonly Snapshot snapshot;
        private readonly uint index;

        internal Gpu(Snapshot snapshot, uint index, in Native.Gpu gpu)
        {
            this.snapshot = snapshot;
            this.index = index;
            Id = Native.Text(gpu.id);
            Name = Native.Text(gpu.name);
            Vendor = Enum.IsDefined(typeof(Vendor), gpu.vendor) ? (Vendor)gpu.vendor : Vendor.Unknown;
            Type = Enum.IsDefined(typeof(GpuType), gpu.type) ? (GpuType)gpu.type : GpuType.Unknown;
            IsMainDisplay = gpu.is_main_display != 0;
            HardwareId = Native.Text(gpu.hardware_id);
            PciLocation = Native.Text(gpu.pci_location);
            PciDomain = Native.Known(gpu.pci_domain);
            PciBus = Native.Known(gpu.pci_bus);
            PciDevice = Native.Known(gpu.pci_device);
            PciFunction = Native.Known(gpu.pci_function);
            VramMiB = gpu.vram_mib == -1 ? (long?)null : gpu.vram_mib;
            HasCuda = (gpu.compute_apis & 1) != 0;
            HasOpenCL = (gpu.compute_apis & 2) != 0;
            CudaIndex = Native.Known(gpu.cuda_index);
            CudaCompute = Native.Pair(gpu.cuda_compute_major, gpu.cuda_compute_minor);
            DxgiNumber = Native.Known(gpu.dxgi_number);
            CudaNumber = Native.Known(gpu.cuda_number);
            NvmlNumber = Native.Known(gpu.nvml_number);
            NvapiNumber = Native.Known(gpu.nvapi_number);
            VulkanNumber = Native.Known(gpu.vulkan_number);
            HipNumber = Native.Known(gpu.hip_number);
            OpenCLNumber = Native.Pair(gpu.opencl_platform_number, gpu.opencl_device_number);
            LevelZeroNumber = Native.Pair(gpu.level_zero_driver_number, gpu.level_zero_device_number);
            Luid = gpu.luid == 0 ? (ulong?)null : gpu.luid;
            Uuid = Native.Text(gpu.uuid);
        }

        /// <summary>"gpu:61279526.5150080d", the same from run to run.</summary>
        public string Id { get; }
        public string Name { get; }
        public Vendor Vendor { get; }
        public GpuType Type { get; }
        public bool IsMainDisplay { get; }
        public string HardwareId { get; }
        /// <summary>"PCI:1:0.0": bus, device and, where known, function, decimal.</summary>
        public string PciLocation { get; }
        public int? PciDomain { get; }
        public int? PciBus { get; }
        public int? PciDevice { get; }
        public int? PciFunction { get; }
        public long? VramMiB { get; }
        public bool HasCuda { get; }
        public bool HasOpenCL { get; }
        /// <summary>CUDA's ordinal in this process, as its environment has it.</summary>
        public int? CudaIndex { get; }
        /// <summary>Major and minor number.</summary>
        public NumberPair? CudaCompute { get; }

        /// <summary>By which number DXGI, Direct3D 12 and DirectML know it. This and the following are known only with
        /// <see cref="DetectOptions.Numbers"/>.</summary>
        public int? DxgiNumber { get; }
        public int? CudaNumber { get; }
        public int? NvmlNumber { get; }
        public int? NvapiNumber { get; }
        public int? VulkanNumber { get; }
        public int? HipNumber { get; }
        /// <summary>The platform's number and the device's.</summary>
        public NumberPair? OpenCLNumber { get; }
        /// <summary>The driver's number and the device's.</summary>
        public NumberPair? LevelZeroNumber { get; }
        /// <summary>Windows' name of the adapter until it restarts.</summary>
        public ulong? Luid { get; }
        public string Uuid { get; }

        /// <summary>Video memory at this moment; null where the driver does not tell.</summary>
        public Memory GetMemory() =>
            Native.MemoryOf((ref Native.Memory memory) => Native.vexil_get_gpu_memory(snapshot.Handle, index, ref memory));
    }

    /// <summary>A monitor that hangs off one of the GPUs.</summary>
    public sealed class Monitor
    {
        internal Monitor(in Native.Monitor monitor)
        {
            Name = Native.Text(monitor.name);
            DeviceName = Native.Text(monitor.device_name);
            GpuId = Native.Text(monitor.gpu_id);
            GpuIndex = Native.Known(monitor.gpu_index);
            IsMain = monitor.is_main != 0;
            Width = Native.Known(monitor.width);
            Height = Native.Known(monitor.height);
            RefreshRate = Native.Known(monitor.refresh_rate);
        }

        public string Name { get; }
        public string DeviceName { get; }
        public string GpuId { get; }
        public int? GpuIndex { get; }
        public bool IsMain { get; }
        public int? Width { get; }
        public int? Height { get; }
        public int? RefreshRate { get; }
    }

    /// <summary>The machine.</summary>
    public sealed class MachineInfo
    {
        internal MachineInfo(in Native.System system)
        {
            OSVersion = Native.Text(system.os_version);
            Model = Native.Text(system.model);
            CpuName = Native.Text(system.cpu_name);
            CpuThreads = Native.Known(system.cpu_threads);
            RamMiB = system.ram_mib == -1 ? (long?)null : system.ram_mib;
            SystemId = Native.Text(system.system_id);
            NvidiaDriver = Native.Pair(system.nvidia_driver_major, system.nvidia_driver_minor);
            CudaDriver = Native.Pair(system.cuda_driver_major, system.cuda_driver_minor);
            AmdDriverVersion = Native.Text(system.amd_driver_version);
            IntelDriverVersion = Native.Text(system.intel_driver_version);
        }

        public string OSVersion { get; }
        public string Model { get; }
        public string CpuName { get; }
        public int? CpuThreads { get; }
        public long? RamMiB { get; }
        public string SystemId { get; }
        /// <summary>537 and 9 are written 537.09.</summary>
        public NumberPair? NvidiaDriver { get; }
        /// <summary>The newest CUDA that the driver supports.</summary>
        public NumberPair? CudaDriver { get; }
        public string AmdDriverVersion { get; }
        public string IntelDriverVersion { get; }
    }

    /// <summary>One detection's results, which never change. They need not be disposed of; doing so frees their memory
    /// early.</summary>
    public sealed class Snapshot : IDisposable
    {
        internal Snapshot(SnapshotHandle handle)
        {
            Handle = handle;
        }

        internal SnapshotHandle Handle { get; }

        public IReadOnlyList<Gpu> Gpus
        {
            get
            {
                var gpus = new List<Gpu>();
                for (uint index = 0; index < Native.vexil_gpu_count(Handle); ++index)
                {
                    var gpu = new Native.Gpu { size = Native.SizeOf<Native.Gpu>() };
                    Native.Check(Native.vexil_get_gpu(Handle, index, ref gpu));
                    gpus.Add(new Gpu(this, index, gpu));
                }
                GC.KeepAlive(this);
                return gpus;
            }
        }

        public IReadOnlyList<Monitor> Monitors
        {
            get
            {
                var monitors = new List<Monitor>();
                for (uint index = 0; index < Native.vexil_monitor_count(Handle); ++index)
                {
                    var monitor = new Native.Monitor { size = Native.SizeOf<Native.Monitor>() };
                    Native.Check(Native.vexil_get_monitor(Handle, index, ref monitor));
                    monitors.Add(new Monitor(monitor));
                }
                GC.KeepAlive(this);
                return monitors;
            }
        }

        public MachineInfo System
        {
            get
            {
                var system = new Native.System { size = Native.SizeOf<Native.System>() };
                Native.Check(Native.vexil_get_system(Handle, ref system));
                var info = new MachineInfo(system);
                GC.KeepAlive(this);
                return info;
            }
        }

        /// <summary>Everything, as "vexil --json" prints it.</summary>
        public string Json => TextOf(Native.vexil_get_json);

        /// <summary>All numbers, as "vexil ids --json" prints them. Fails without <see cref="DetectOptions.Numbers"/>.
        /// </summary>
        public string IdsJson => TextOf(Native.vexil_get_ids_json);

        /// <summary>Everything as a FlatBuffers buffer, which <see cref="Detector.Load(byte[])"/> takes.</summary>
        public byte[] ToBuffer()
        {
            Native.Check(Native.vexil_get_buffer(Handle, out var data, out var size));
            var copy = new byte[checked((int)size)];
            Marshal.Copy(data, copy, 0, copy.Length);
            GC.KeepAlive(this);
            return copy;
        }

        public void Dispose() => Handle.Dispose();

        private delegate int TextFunction(SnapshotHandle snapshot, out IntPtr text);

        private string TextOf(TextFunction function)
        {
            Native.Check(function(Handle, out var text));
            var copy = Native.Text(text);
            GC.KeepAlive(this);
            return copy;
        }
    }

    /// <summary>How to detect.</summary>
    public sealed class DetectOptions
    {
        /// <summary>In a process of its own, so that a driver that crashes or hangs takes nothing else with it.</summary>
        public bool Isolated { get; set; }

        /// <summary>Ask also by which numbers interfaces know the GPUs.</summary>
        public bool Numbers { get; set; }

        /// <summary>For such processes; null is the usual one.</summary>
        public TimeSpan? TimeLimit { get; set; }

        /// <summary>The program for such processes; null is the one beside the DLL.</summary>
        public string Helper { get; set; }

        /// <summary>Is told the lines of the log, in the thread that detects. What it throws is thrown when the detection
        /// is over.</summary>
        public Action<LogLevel, string> Log { get; set; }
    }

    /// <summary>Which GPUs this machine has. Any thread may call anything.</summary>
    public static class Detector
    {
        /// <summary>Detects the GPUs of this machine. Also succeeds where there is none.</summary>
        /// <exception cref="VexilException"/>
        public static Snapshot Detect(DetectOptions options = null)
        {
            options = options ?? new DetectOptions();
            ExceptionDispatchInfo thrown = null;
            Native.LogFunction write = (context, level, text) =>
            {
                try
                {
                    if (thrown == null) options.Log((LogLevel)level, Native.Text(text));
                }
                catch (Exception exception)
                {
                    thrown = ExceptionDispatchInfo.Capture(exception);
                }
            };
            var helper = Native.ToUtf8(options.Helper);
            var pinned = GCHandle.Alloc(helper, GCHandleType.Pinned);
            try
            {
                var native = new Native.Options
                {
                    size = Native.SizeOf<Native.Options>(),
                    flags = (options.Isolated ? 1u : 0u) | (options.Numbers ? 2u : 0u),
                    time_limit_ms = options.TimeLimit is TimeSpan limit
                        ? (uint)Math.Min(uint.MaxValue, Math.Max(1, limit.TotalMilliseconds))
                        : 0,
                    helper = pinned.AddrOfPinnedObject(),
                    log = options.Log == null ? IntPtr.Zero : Marshal.GetFunctionPointerForDelegate(write)
                };
                var snapshot = Made(Native.vexil_detect(ref native, out var handle), handle);
                thrown?.Throw();
                return snapshot;
            }
            finally
            {
                pinned.Free();
                GC.KeepAlive(write);
            }
        }

        /// <summary>The same in a thread of the pool.</summary>
        public static Task<Snapshot> DetectAsync(DetectOptions options = null) => Task.Run(() => Detect(options));

        /// <summary>A result that "vexil save FILE" saved.</summary>
        /// <exception cref="VexilException"/>
        public static Snapshot Load(string path) =>
            Made(Native.vexil_load(Native.ToUtf8(path ?? throw new ArgumentNullException(nameof(path))), out var handle), handle);

        /// <summary>A result that <see cref="Snapshot.ToBuffer"/> gave.</summary>
        /// <exception cref="VexilException"/>
        public static Snapshot Load(byte[] buffer) =>
            Made(Native.vexil_load_buffer(buffer ?? throw new ArgumentNullException(nameof(buffer)), (UIntPtr)buffer.Length,
                                          out var handle), handle);

        /// <summary>The machine's physical memory at this moment; null where Windows does not tell.</summary>
        public static Memory GetSystemMemory() => Native.MemoryOf(Native.vexil_get_system_memory);

        /// <summary>The version of the library.</summary>
        public static string Version => Native.Text(Native.vexil_version());

        private static Snapshot Made(int status, SnapshotHandle handle)
        {
            var snapshot = handle.IsInvalid ? null : new Snapshot(handle);
            return status == Native.OK ? snapshot : throw new VexilException(status, snapshot);
        }
    }

    internal sealed class SnapshotHandle : SafeHandle
    {
        private SnapshotHandle() : base(IntPtr.Zero, true) { }

        public override bool IsInvalid => handle == IntPtr.Zero;
        protected override bool ReleaseHandle() => Native.vexil_release(handle) == Native.OK;
    }

    /// <summary>The C interface, vexil_c.h.</summary>
    internal static class Native
    {
        internal const int OK = 0;
        private const int Unknown = 8;
        private const string Library = "vexil_c";

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        internal delegate void LogFunction(IntPtr context, int level, IntPtr text);

        [StructLayout(LayoutKind.Sequential)]
        internal struct Options
        {
            internal uint size, flags, time_limit_ms, reserved;
            internal IntPtr helper, log, log_context;
        }

        [StructLayout(LayoutKind.Sequential)]
        internal struct Gpu
        {
            internal uint size;
            internal int vendor, type, is_main_display;
            internal IntPtr id, name, hardware_id, pci_location;
            internal int pci_domain, pci_bus, pci_device, pci_function;
            internal long vram_mib;
            internal int compute_apis, cuda_index, cuda_compute_major, cuda_compute_minor;
            internal int dxgi_number, cuda_number, nvml_number, nvapi_number, vulkan_number, hip_number;
            internal int opencl_platform_number, opencl_device_number;
            internal int level_zero_driver_number, level_zero_device_number;
            internal ulong luid;
            internal IntPtr uuid;
        }

        [StructLayout(LayoutKind.Sequential)]
        internal struct Monitor
        {
            internal uint size;
            internal int is_main, gpu_index, width, height, refresh_rate;
            internal IntPtr gpu_id, name, device_name;
        }

        [StructLayout(LayoutKind.Sequential)]
        internal struct System
        {
            internal uint size;
            internal int cpu_threads;
            internal long ram_mib;
            internal IntPtr os_version, model, cpu_name, system_id;
            internal int nvidia_driver_major, nvidia_driver_minor, cuda_driver_major, cuda_driver_minor;
            internal IntPtr amd_driver_version, intel_driver_version;
        }

        [StructLayout(LayoutKind.Sequential)]
        internal struct Memory
        {
            internal uint size, reserved;
            internal ulong free_bytes, total_bytes;
        }

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr vexil_version();
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr vexil_last_error();
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_detect(ref Options options, out SnapshotHandle snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_load(byte[] path, out SnapshotHandle snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_load_buffer(byte[] data, UIntPtr size, out SnapshotHandle snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_release(IntPtr snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint vexil_gpu_count(SnapshotHandle snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint vexil_monitor_count(SnapshotHandle snapshot);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_gpu(SnapshotHandle snapshot, uint index, ref Gpu gpu);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_monitor(SnapshotHandle snapshot, uint index, ref Monitor monitor);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_system(SnapshotHandle snapshot, ref System system);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_json(SnapshotHandle snapshot, out IntPtr json);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_ids_json(SnapshotHandle snapshot, out IntPtr json);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_buffer(SnapshotHandle snapshot, out IntPtr data, out UIntPtr size);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_system_memory(ref Memory memory);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        internal static extern int vexil_get_gpu_memory(SnapshotHandle snapshot, uint index, ref Memory memory);

        internal delegate int MemoryFunction(ref Memory memory);

        internal static Vexil.Memory MemoryOf(MemoryFunction function)
        {
            var memory = new Memory { size = SizeOf<Memory>() };
            var status = function(ref memory);
            if (status == Unknown) return null;
            Check(status);
            return new Vexil.Memory(memory);
        }

        internal static void Check(int status)
        {
            if (status != OK) throw new VexilException(status, null);
        }

        internal static uint SizeOf<T>() => (uint)Marshal.SizeOf<T>();

        internal static int? Known(int number) => number == -1 ? (int?)null : number;

        internal static NumberPair? Pair(int first, int second) =>
            first == -1 || second == -1 ? (NumberPair?)null : new NumberPair(first, second);

        /// <summary>With its NUL; null of null.</summary>
        internal static byte[] ToUtf8(string text) => text == null ? null : Encoding.UTF8.GetBytes(text + "\0");

        internal static string Text(IntPtr text)
        {
            if (text == IntPtr.Zero) return "";
            var size = 0;
            while (Marshal.ReadByte(text, size) != 0) ++size;
            var bytes = new byte[size];
            Marshal.Copy(text, bytes, 0, size);
            return Encoding.UTF8.GetString(bytes);
        }
    }
}
