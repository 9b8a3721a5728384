def __AllModes():
    '''
    Return a list of the functions that set up new modes. This
    should include all of the modes defined here; it provides
    a mechanism for looping over all known modes.

    Each function has the same argument list:
    (device, stream = True, clock_multiplier = 1.0)
    '''
    #  These are not strings, they are function names
    return [
        c27,
        tenth,
        c6_1234567,
        tiny,
        million,
        text_24,
        zero,
        negative,
        text,
        empty_text,
        null,
        list,
        not_a_number,
        infinite,
        beyond_a_double,
        no_value,
        no_object,
        other_parameter,
        no_parameters
    ]


def c27(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 27000000.0
    Reset(device)
    stream_off(device)
    pass

def tenth(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 100000.0
    Reset(device)
    stream_off(device)
    pass

def c6_1234567(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 6123456.7
    Reset(device)
    stream_off(device)
    pass

def tiny(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 0.0
    Reset(device)
    stream_off(device)
    pass

def million(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 1000000000000.0
    Reset(device)
    stream_off(device)
    pass

def text_24(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 24000000.0
    Reset(device)
    stream_off(device)
    pass

def zero(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def negative(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def text(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def empty_text(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def null(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def list(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def not_a_number(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def infinite(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def beyond_a_double(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def no_value(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def no_object(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def other_parameter(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def no_parameters(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass
