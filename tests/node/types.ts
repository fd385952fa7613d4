// Is compiled, not run.
import * as vexil from 'vexil';

async function use(): Promise<string> {
  const options: vexil.DetectOptions = { numbers: true, log: (level: vexil.LogLevel, text) => text.length > level.length };
  const snapshot = await vexil.detect(options);
  const known: number = snapshot.gpus[0].memory()?.freeBytes ?? 0;
  const pair: [number, number] | null = snapshot.gpus[0].openclNumber;
  const luid: bigint | null = snapshot.gpus[0].luid;
  const main: vexil.Monitor | undefined = vexil.load('machine.vexil').monitors.find((monitor) => monitor.isMain);
  try {
    vexil.loadBuffer(snapshot.buffer);
  } catch (error) {
    if (error instanceof vexil.VexilError && error.code === 'DAMAGED') return error.known?.system.model ?? '';
  }
  // @ts-expect-error It may be unknown.
  const bus: number = snapshot.gpus[0].pciBus;
  return `${known} ${pair} ${luid} ${main} ${bus} ${vexil.systemMemory()?.totalBytes} ${vexil.version()}`;
}

use();
