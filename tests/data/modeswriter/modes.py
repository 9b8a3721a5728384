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
        full,
        broken,
        broken,
        full,
        one error,
        without inputs,
        without errors,
        bare,
        odd functions,
        Größe_π_𝄞,
        ,
        FULL
    ]


def full(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
      Rate: 29.97,
      binning: 2x2,
      empty: ,
      odd: ,
      width: 640,
    }
    """
    device.external_clock_frequency_in_Hz = 27000000.0
    Reset(device)
    stream_off(device)
    __pll(device)
    __window(device)
    if stream: stream_on(device)
# Missing data
#  broken
#  Got error messages:
#      first message
#      second message
and its next line
#      3

def broken(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
      only: true,
    }
    """
    Reset(device)
    stream_off(device)
    __pll(device)
    __own(device)
    __own(device)
    if stream: stream_on(device)
#  one error
#  Got error messages:
#      a text counts as one message
# Missing data
# Missing data
# Missing data
# Missing data

def bare(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def odd functions(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    __full(device)
    __(device)
    __(device)
    __(device)
    __12(device)
    __no_instructions(device)
    if stream: stream_on(device)

def Größe_π_𝄞(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
      a: ,
      Übersicht: größer,
    }
    """
    Reset(device)
    stream_off(device)
    __Übertakt(device)
    if stream: stream_on(device)

def (device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    pass

def FULL(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
      z: 1,
    }
    """
    Reset(device)
    stream_off(device)
    __PLL(device)
    if stream: stream_on(device)

def __pll(device):
    device['PLL_MULTIPLIER'].value = 0x0010
    #  the version of full
    return

def __window(device):
    device['X_START'].value = 0x0001  #  left
    return

def __own(device):
    #  of the mode that is named like a failed one
    return

def __late(device):
    #  of a mode whose name is taken
    return

def __of_no_inputs(device):
    return

def __12(device):
    return

def __no_instructions(device):
    return

def __Übertakt(device):
    #  für 27 MHz — 𝄞
    device['GRÖSSE:FELD_π'].value = 0x00ff  #  höher
    return

def __PLL(device):
    #  case counts
    return
