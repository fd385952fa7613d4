'use strict';
// The package on the machine five-gpus.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { test } = require('node:test');

const vexil = require('vexil');
const c = require('vexil/c.js');

const code = (expected) => (error) => error instanceof vexil.VexilError && error.code === expected && error.message !== '';

test('values', async () => {
  const { gpus, monitors, system } = await vexil.detect({ numbers: true });
  const [first] = gpus;
  const last = gpus.at(-1);
  assert.deepEqual([first.vendor, first.type, first.isMainDisplay], ['NVIDIA', 'discrete', true]);
  assert.deepEqual([first.vramMiB, first.hasCUDA, first.hasOpenCL], [24575, true, true]);
  assert.deepEqual([first.cudaCompute, first.openclNumber, first.levelZeroNumber], [[8, 6], [0, 0], null]);
  assert.deepEqual([first.uuid, first.luid], ['GPU-69401105-2337-a290-183c-aa7710154270', 0xc2a1n]);
  assert.deepEqual([last.name, last.cudaNumber, last.levelZeroNumber], ['UHD Graphics 770', null, [0, 0]]);
  assert.equal(monitors.find((monitor) => monitor.isMain).gpuId, first.id);
  assert.ok(system.ramMiB > 0);
});

test('memory', async () => {
  const { gpus } = await vexil.detect();
  const memory = gpus[0].memory();
  assert.ok(memory.freeBytes > 0 && memory.freeBytes < memory.totalBytes);
  assert.equal(gpus.at(-1).memory(), null);
  assert.ok(vexil.systemMemory().totalBytes > 2 ** 30);
});

test('saved results', async () => {
  const snapshot = await vexil.detect();
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'vexil-'));
  const file = path.join(folder, 'fünf.vexil');
  fs.writeFileSync(file, snapshot.buffer);
  const loaded = vexil.load(file);
  fs.rmSync(folder, { recursive: true });
  assert.deepEqual(loaded.json, snapshot.json);
  assert.deepEqual(loaded.gpus, snapshot.gpus);
  assert.deepEqual(vexil.loadBuffer(snapshot.buffer).monitors, snapshot.monitors);
  assert.equal(loaded.gpus[0].memory(), null);
});

test('failures', async () => {
  assert.throws(() => vexil.load('/no/such/file'), code('UNREADABLE'));
  assert.throws(() => vexil.load(__filename), code('DAMAGED'));
  assert.throws(() => vexil.loadBuffer(Buffer.alloc(1)), code('DAMAGED'));
  const snapshot = await vexil.detect();
  assert.throws(() => snapshot.ids, code('UNKNOWN'));
});

test('log', async () => {
  const lines = [];
  await vexil.detect({ log: (level, text) => lines.push([level, text]) });
  assert.ok(lines.some(([level, text]) => level === 'info' && text === 'Detected 5 GPUs:'));
  const fail = () => {
    throw new RangeError('no line');
  };
  await assert.rejects(vexil.detect({ log: fail }), RangeError);
});

test('the event loop goes on meanwhile', async () => {
  let turns = 0;
  const timer = setInterval(() => ++turns, 1);
  const found = await Promise.all([vexil.detect(), vexil.detect(), vexil.detect()]);
  clearInterval(timer);
  assert.deepEqual(found.map((snapshot) => snapshot.gpus.length), [5, 5, 5]);
  assert.ok(turns > 0);
});

test('every function is declared', () => {
  const header = fs.readFileSync(process.env.VEXIL_C_HEADER, 'utf8');
  const declared = [...header.matchAll(/^VEXIL_C_API .*?(vexil_[a-z_]+)\(/gm)].map((match) => match[1]);
  assert.deepEqual(c.FUNCTIONS.map(([name]) => name), declared);
});
