'use strict';
// The package with the DLL and its helper that are inside.

const assert = require('node:assert/strict');
const vexil = require('vexil');

(async () => {
  assert.match(vexil.version(), /^[0-9]/);
  assert.deepEqual((await vexil.detect({ isolated: true })).gpus, []);
  await assert.rejects(vexil.detect({ isolated: true, helper: 'no such helper' }), (error) => {
    assert.equal(error.code, 'HELPER_MISSING');
    assert.match(error.message, /no such helper/);
    assert.deepEqual(error.known.gpus, []);
    return true;
  });
})();
