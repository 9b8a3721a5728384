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
        preview,
        idle,
        video
    ]


def preview(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
      größe: it's "big",
      width: 640,
    }
    """
    device.external_clock_frequency_in_Hz = 27000000.0
    Reset(device)
    stream_off(device)
    __pll(device)
    __window(device)
    if stream: stream_on(device)

def idle(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def video(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    device.external_clock_frequency_in_Hz = 6123456.7
    Reset(device)
    stream_off(device)
    __window(device)
    __gain(device)
    __nothing(device)
    if stream: stream_on(device)

def __pll(device):
    #  clock tree
    device['PLL_MULTIPLIER'].value = 0x0010
    device['PLL:DIVIDER'].value = 0x0004  #  after the multiplier
    return

def __window(device):
    device['X_START'].value = 0x0000
    #  [ DELAY,5, ] - unknown operation
    device['X_END'].value = 0xffffffff
    #  [  ] - unknown operation
    return

def __gain(device):
    device['GAIN'].value = 0x10000
    return

def __nothing(device):
    return
