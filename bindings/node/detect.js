'use strict';
// Detects in a thread of its own, which the event loop does not wait for; a driver may use the whole of its stack.

const { parentPort, workerData } = require('node:worker_threads');
const c = require('./c.js');

const write = (context, level, text) => parentPort.postMessage({ level, text });
const snapshot = [null];
const options = {
  ...c.sized(c.Options),
  flags: (workerData.isolated ? c.ISOLATED : 0) | (workerData.numbers ? c.NUMBERS : 0),
  time_limit_ms: workerData.timeLimit === undefined ? 0 : Math.max(1, Math.round(workerData.timeLimit)),
  reserved: 0,
  helper: workerData.helper ?? null,
  log: workerData.hasLog ? write : null,
  log_context: null,
};
const status = c.library.vexil_detect(options, snapshot);
parentPort.postMessage({ status, handle: snapshot[0], reason: status === c.OK ? '' : c.library.vexil_last_error() });
