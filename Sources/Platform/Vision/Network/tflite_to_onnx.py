#!/usr/bin/env python3
"""tflite_to_onnx.py INPUT OUTPUT: writes a TensorFlow Lite network as ONNX.

Knows the operators of portrait segmentation networks and stops at any other. Pictures turn from rows x columns
x channels into channels x rows x columns, 16-bit weights into 32-bit ones. OpenCV 4.6 is the reader to please:
it computes rubbish from symmetric padding at a stride of 2, takes the wrong samples without "half_pixel", and
refuses a HardSwish that is put together from its parts.
"""
import math
import struct
import sys

# Numbers of the TensorFlow Lite schema.
FLOAT32, FLOAT16, INT32 = 0, 1, 2
SAME = 0
ADD, AVERAGE_POOL_2D, CONV_2D, DEPTHWISE_CONV_2D, DEQUANTIZE, LOGISTIC, MUL = 0, 1, 3, 4, 6, 14, 18
RELU, RESIZE_BILINEAR, CUSTOM, MEAN, HARD_SWISH = 19, 23, 32, 40, 117
ACTIVATIONS = {1: 'Relu'}
# Numbers of the ONNX schema.
ONNX_FLOAT, ONNX_IR_VERSION, ONNX_OPSET = 1, 7, 14


class Table:
    """A table of a FlatBuffers file; fields go by their number in the schema."""

    def __init__(self, data, at):
        self.data, self.at = data, at
        self.layout = at - struct.unpack_from('<i', data, at)[0]
        self.size = struct.unpack_from('<H', data, self.layout)[0]

    def place(self, field):
        entry = 4 + 2 * field
        offset = struct.unpack_from('<H', self.data, self.layout + entry)[0] if entry < self.size else 0
        return self.at + offset if offset else None

    def number(self, field, kind='i', otherwise=0):
        place = self.place(field)
        return otherwise if place is None else struct.unpack_from('<' + kind, self.data, place)[0]

    def target(self, place):
        return place + struct.unpack_from('<I', self.data, place)[0]

    def table(self, field):
        place = self.place(field)
        return Table(self.data, self.target(place)) if place is not None else None

    def vector(self, field, kind='i'):
        place = self.place(field)
        if place is None:
            return b'' if kind == 'B' else ()
        start = self.target(place)
        count = struct.unpack_from('<I', self.data, start)[0]
        if kind == 'B':
            if start + 4 + count > len(self.data):
                raise ValueError('it is cut short')
            return self.data[start + 4:start + 4 + count]
        return struct.unpack_from('<%d%s' % (count, kind), self.data, start + 4)

    def tables(self, field):
        place = self.place(field)
        if place is None:
            return []
        start = self.target(place)
        count = struct.unpack_from('<I', self.data, start)[0]
        return [Table(self.data, self.target(start + 4 + 4 * i)) for i in range(count)]


class Message:
    """A protocol buffers message, field after field."""

    def __init__(self):
        self.data = bytearray()

    def varint(self, value):
        value &= (1 << 64) - 1
        while value > 0x7F:
            self.data.append(value & 0x7F | 0x80)
            value >>= 7
        self.data.append(value)

    def integer(self, field, value):
        self.varint(field << 3)
        self.varint(value)
        return self

    def chunk(self, field, value):
        if isinstance(value, Message):
            value = value.data
        elif isinstance(value, str):
            value = value.encode()
        self.varint(field << 3 | 2)
        self.varint(len(value))
        self.data += value
        return self


def tensor(name, shape, values):
    message = Message()
    for side in shape:
        message.integer(1, side)
    message.integer(2, ONNX_FLOAT).chunk(8, name)
    return message.chunk(9, struct.pack('<%df' % len(values), *values))


def value_info(name, shape):
    sides = Message()
    for side in shape:
        sides.chunk(1, Message().integer(1, side))
    kind = Message().chunk(1, Message().integer(1, ONNX_FLOAT).chunk(2, sides))
    return Message().chunk(1, name).chunk(2, kind)


def attribute(name, value):
    message = Message().chunk(1, name)
    if isinstance(value, str):
        return message.chunk(4, value).integer(20, 3)
    if isinstance(value, int):
        return message.integer(3, value).integer(20, 2)
    for each in value:
        message.integer(8, each)
    return message.integer(20, 7)


def transposed(values, shape, order):
    """The values of an array, last side fastest, with its sides in another order."""
    steps = [1] * len(shape)
    for i in range(len(shape) - 2, -1, -1):
        steps[i] = steps[i + 1] * shape[i + 1]
    places = [0]
    for side in order:
        places = [place + i * steps[side] for place in places for i in range(shape[side])]
    return [values[place] for place in places], [shape[side] for side in order]


class Converter:
    def __init__(self, data):
        if data[4:8] != b'TFL3':
            raise ValueError('it is no TensorFlow Lite file')
        model = Table(data, struct.unpack_from('<I', data)[0])
        graph = model.tables(2)[0]
        self.codes = [(max(code.number(0, 'b'), code.number(3)), code.vector(1, 'B')) for code in model.tables(1)]
        self.buffers = model.tables(4)
        self.tensors = graph.tables(0)
        self.inputs, self.outputs = graph.vector(1), graph.vector(2)
        self.constants = {}  # results of DEQUANTIZE: a tensor's number to its values
        self.graph = Message()
        for operator in graph.tables(3):
            self.convert(operator)

    def shape(self, index):
        return list(self.tensors[index].vector(0))

    def picture_shape(self, index):
        batch, rows, columns, channels = self.shape(index)
        return [batch, channels, rows, columns]

    def values(self, index):
        if index in self.constants:
            return self.constants[index]
        kind = {FLOAT32: 'f', FLOAT16: 'e', INT32: 'i'}[self.tensors[index].number(1, 'b')]
        data = self.buffers[self.tensors[index].number(2, 'I')].vector(0, 'B')
        return struct.unpack('<%d%s' % (len(data) // struct.calcsize(kind), kind), data)

    def is_constant(self, index):
        return index in self.constants or len(self.buffers[self.tensors[index].number(2, 'I')].vector(0, 'B')) > 0

    def weight(self, index, order=None):
        values, shape = self.values(index), self.shape(index)
        if min(shape, default=1) < 1 or math.prod(shape) != len(values):
            raise ValueError('its weights are damaged')
        if order:
            values, shape = transposed(values, shape, order)
        name = 'w%d' % index
        self.graph.chunk(5, tensor(name, shape, values))
        return name

    def node(self, kind, inputs, output, **attributes):
        message = Message()
        for each in inputs:
            message.chunk(1, each)
        message.chunk(2, output).chunk(3, output + '_' + kind).chunk(4, kind)
        for name, value in attributes.items():
            message.chunk(5, attribute(name, value))
        self.graph.chunk(1, message)

    def activated(self, kind, inputs, output, activation, **attributes):
        """A node and the activation that TensorFlow Lite holds in the same operator."""
        if activation == 0:
            self.node(kind, inputs, output, **attributes)
        elif activation in ACTIVATIONS:
            self.node(kind, inputs, output + 'a', **attributes)
            self.node(ACTIVATIONS[activation], [output + 'a'], output)
        else:
            raise ValueError('the activation %d is not known' % activation)

    @staticmethod
    def padding(same, source, result, kernel, strides):
        """Rows and columns added before and after: the odd one of SAME comes last."""
        before, after = [], []
        for i in (0, 1):
            missing = max(0, (result[2 + i] - 1) * strides[i] + kernel[i] - source[2 + i]) if same else 0
            before.append(missing // 2)
            after.append(missing - missing // 2)
        return before + after

    def convert(self, operator):
        code, custom = self.codes[operator.number(0, 'I')]
        inputs, (result, *_) = operator.vector(1), operator.vector(2)
        options = operator.table(4)
        names, name = ['t%d' % i for i in inputs], 't%d' % result
        if code == DEQUANTIZE:
            self.constants[result] = self.values(inputs[0])
        elif code in (CONV_2D, DEPTHWISE_CONV_2D):
            self.convolution(code == DEPTHWISE_CONV_2D, inputs, result, options)
        elif code == CUSTOM and custom == b'Convolution2DTransposeBias':
            self.transposed_convolution(inputs, result, operator.vector(5, 'B'))
        elif code in (RELU, LOGISTIC, HARD_SWISH):
            self.node({RELU: 'Relu', LOGISTIC: 'Sigmoid', HARD_SWISH: 'HardSwish'}[code], names, name)
        elif code in (ADD, MUL):
            if any(self.is_constant(i) for i in inputs):
                raise ValueError('sums and products with constants are not known')
            self.activated('Add' if code == ADD else 'Mul', names, name, options.number(0, 'b') if options else 0)
        elif code == MEAN:
            if sorted(self.values(inputs[1])) != [1, 2]:
                raise ValueError('a mean that is not over rows and columns is not known')
            self.node('GlobalAveragePool', names[:1], name)
        elif code == AVERAGE_POOL_2D:
            if [options.number(4), options.number(3)] != self.shape(inputs[0])[1:3]:
                raise ValueError('a mean over a part of the picture is not known')
            self.node('GlobalAveragePool', names[:1], name)
        elif code == RESIZE_BILINEAR:
            if options.number(2, 'b') or not options.number(3, 'b'):
                raise ValueError('only half-pixel sampling is known')
            self.graph.chunk(5, tensor(name + 's', [4], [b / a for a, b in zip(self.picture_shape(inputs[0]),
                                                                              self.picture_shape(result))]))
            self.node('Resize', [names[0], '', name + 's'], name, mode='linear',
                      coordinate_transformation_mode='half_pixel')
        else:
            raise ValueError('the operator %d %s is not known' % (code, custom.decode(errors='replace')))

    def convolution(self, depthwise, inputs, result, options):
        source, kernel = self.picture_shape(inputs[0]), self.shape(inputs[1])
        activation, dilation = (4, 5) if depthwise else (3, 4)
        strides = [options.number(2), options.number(1)]
        if depthwise and kernel[3] != source[1]:
            raise ValueError('several results a channel are not known')
        if options.number(dilation, otherwise=1) != 1 or options.number(dilation + 1, otherwise=1) != 1:
            raise ValueError('dilation is not known')
        pads = self.padding(options.number(0, 'b') == SAME, source, self.picture_shape(result), kernel[1:3], strides)
        # OpenCV copies the whole picture for explicit pads that differ, and not for the same ones by their name.
        padding = {'pads': pads} if pads[:2] == pads[2:] else {'auto_pad': 'SAME_UPPER'}
        self.activated(
            'Conv', ['t%d' % inputs[0], self.weight(inputs[1], (3, 0, 1, 2) if depthwise else (0, 3, 1, 2)),
                     self.weight(inputs[2])],
            't%d' % result, options.number(activation, 'b'), kernel_shape=kernel[1:3], strides=strides,
            group=source[1] if depthwise else 1, **padding)

    def transposed_convolution(self, inputs, result, options):
        _, columns, rows = struct.unpack_from('<3i', options)
        kernel = self.shape(inputs[1])
        if kernel[1:3] != [rows, columns]:
            raise ValueError('results that overlap are not known')
        self.node('ConvTranspose', ['t%d' % inputs[0], self.weight(inputs[1], (3, 0, 1, 2)), self.weight(inputs[2])],
                  't%d' % result, kernel_shape=kernel[1:3], strides=[rows, columns])

    def onnx(self):
        self.graph.chunk(2, 'person')
        for index in self.inputs:
            self.graph.chunk(11, value_info('t%d' % index, self.picture_shape(index)))
        for index in self.outputs:
            self.graph.chunk(12, value_info('t%d' % index, self.picture_shape(index)))
        opset = Message().chunk(1, '').integer(2, ONNX_OPSET)
        model = Message().integer(1, ONNX_IR_VERSION).chunk(2, 'tflite_to_onnx')
        return bytes(model.chunk(7, self.graph).chunk(8, opset).data)


def main():
    if len(sys.argv) != 3:
        sys.exit('usage: tflite_to_onnx.py INPUT OUTPUT')
    source, result = sys.argv[1:]
    try:
        with open(source, 'rb') as file:
            data = file.read()
        try:
            network = Converter(data).onnx()
        except (struct.error, IndexError, KeyError, AttributeError) as error:
            raise ValueError('it is damaged (%s)' % error) from error
        with open(result, 'wb') as file:
            file.write(network)
    except OSError as error:
        sys.exit('tflite_to_onnx: %s' % error)
    except ValueError as error:
        sys.exit("tflite_to_onnx: %s can't be converted: %s" % (source, error))


if __name__ == '__main__':
    main()
