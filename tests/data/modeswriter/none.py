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
        
    ]

