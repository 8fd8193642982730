#!/usr/bin/env python3
"""ConverterTest.py CONVERTER [NETWORK]: what a wrong or damaged network file becomes, and the arithmetic that OpenCV
does not check."""
import importlib.util
import os
import random
import sys
import tempfile
import unittest

converter_file, network_file = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else ''
spec = importlib.util.spec_from_file_location('tflite_to_onnx', converter_file)
converter = importlib.util.module_from_spec(spec)
spec.loader.exec_module(converter)


class ConverterTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source, self.result = os.path.join(folder.name, 'a.tflite'), os.path.join(folder.name, 'a.onnx')

    def convert(self, data):
        """What is said about a file with this content; None when it was converted."""
        with open(self.source, 'wb') as file:
            file.write(data)
        if os.path.exists(self.result):
            os.remove(self.result)
        sys.argv = ['tflite_to_onnx.py', self.source, self.result]
        try:
            converter.main()
        except SystemExit as end:
            self.assertFalse(os.path.exists(self.result), 'no half of a network is left')
            self.assertIn(self.source, end.code)
            return end.code
        return None

    def test_files_that_are_no_network_are_refused(self):
        for data in (b'', b'TFL3', b'\x1c\0\0\0TFL3', b'\xff' * 64, b'\xff\xff\xff\x7fTFL3' + b'\0' * 64):
            self.assertIsNotNone(self.convert(data), data)

    def test_cuts_and_wrong_bytes_are_refused_or_read(self):
        if not os.path.exists(network_file):
            self.skipTest('the network was not fetched')
        with open(network_file, 'rb') as file:
            whole = file.read()
        self.assertIsNone(self.convert(whole))
        for part in range(1, 12):
            self.assertIsNotNone(self.convert(whole[:len(whole) * part // 12]), part)
        chance = random.Random(15)
        for _ in range(8):
            damaged, start = bytearray(whole), chance.randrange(len(whole) - 2000)
            for _ in range(40):
                damaged[start + chance.randrange(2000)] = chance.randrange(256)
            self.convert(bytes(damaged))

    def test_what_same_padding_adds_comes_last(self):
        for source, kernel, stride, expected in ((256, 3, 2, (0, 1)), (255, 3, 2, (1, 1)), (64, 5, 2, (1, 2)),
                                                 (64, 5, 1, (2, 2)), (64, 1, 1, (0, 0)), (7, 2, 3, (0, 1))):
            result = [1, 1, -(-source // stride), 1]
            pads = converter.Converter.padding(True, [1, 1, source, 1], result, [kernel, 1], [stride, 1])
            self.assertEqual((pads[0], pads[2]), expected, (source, kernel, stride))
            self.assertEqual((pads[1], pads[3]), (0, 0))
        self.assertEqual(converter.Converter.padding(False, [1, 1, 9, 9], [1, 1, 7, 7], [3, 3], [1, 1]), [0] * 4)

    def test_weights_change_their_order(self):
        # Two filters of 1 x 2 with three channels, as rows x columns x channels and as channels first.
        values, shape = converter.transposed(list(range(12)), [2, 1, 2, 3], (0, 3, 1, 2))
        self.assertEqual(shape, [2, 3, 1, 2])
        self.assertEqual(values, [0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11])

    def test_numbers_are_written_as_protocol_buffers_want_them(self):
        for value, expected in ((1, b'\x08\x01'), (300, b'\x08\xac\x02'), (-1, b'\x08' + b'\xff' * 9 + b'\x01')):
            self.assertEqual(bytes(converter.Message().integer(1, value).data), expected)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
