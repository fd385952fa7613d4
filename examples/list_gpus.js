// The GPUs of this machine, from Node.
const vexil = require('vexil');

(async () => {
  for (const gpu of (await vexil.detect()).gpus) console.log(`${gpu.name}, ${gpu.vramMiB ?? -1} MiB`);
})();
