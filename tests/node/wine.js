'use strict';
// Koffi puts a stack of its own under each call. Of an exception that the DLL throws and catches there, Wine believes
// that it has passed the frames that Wine itself keeps in a list in each thread. Here the list is emptied; Windows has
// none.
const koffi = require('koffi');

const query = koffi.load('ntdll.dll').func('int NtQueryInformationThread(intptr_t, int, _Out_ uint8_t *, uint32_t, void *)');
const THIS_THREAD = -2;
const BASIC_INFORMATION = 0;
const information = Buffer.alloc(48);
const END_OF_LIST = 0xffffffffffffffffn;
if (query(THIS_THREAD, BASIC_INFORMATION, information, information.length, null) === 0) {
  const list = information.readBigUInt64LE(8);
  koffi.encode(list, 'uint64_t', END_OF_LIST);
}
