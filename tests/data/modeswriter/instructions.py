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
        all
    ]


def all(device, stream=True, clock_multiplier=1.0):
    """
    Inputs
    {
    }
    """
    Reset(device)
    stream_off(device)
    __forms(device)
    __colons(device)
    __values(device)
    if stream: stream_on(device)

def __forms(device):
    #  a comment
    #  
    #  
    #  the second element
    #  2.5
    device['R1'].value = 0x0001
    device['R1'].value = 0x0001  #  why
    device['R1'].value = 0x0001  #  
    device['R1'].value = 0x0001  #  7
    #  [ REG_WRITE,R1, ] - unknown operation
    #  [ REG_WRITE, ] - unknown operation
    #  [ REG_WRITE,R1,1,why,too many, ] - unknown operation
    #  [ DELAY,5, ] - unknown operation
    #  [ DELAY,0.25,true,,text,,, ] - unknown operation
    #  [ reg_write,R1,1, ] - unknown operation
    #  [ , ] - unknown operation
    #  [ ,1, ] - unknown operation
    #  [ 7, ] - unknown operation
    #  [  ] - unknown operation
    #  [  ] - unknown operation
    #  [  ] - unknown operation
    return

def __colons(device):
    device['R1:F'].value = 0x0001
    device['R1:F'].value = 0x0001  #  why
    device['R1::F'].value = 0x0001
    device[':R1'].value = 0x0001
    device['R1:'].value = 0x0001
    device['::R1::'].value = 0x0001  #  why
    device[':R1:F:'].value = 0x0001
    device['A:B:C'].value = 0x0001
    device[' A : B '].value = 0x0001
    device[':'].value = 0x0001
    device[':::'].value = 0x0001  #  why
    device[''].value = 0x0001
    device[''].value = 0x0001
    device['4096'].value = 0x0001
    return

def __values(device):
    device['zero'].value = 0x0000
    device['fifteen'].value = 0x000f
    device['four_digits'].value = 0xffff
    device['five_digits'].value = 0x10000
    device['largest'].value = 0xffffffff
    device['modulo_0'].value = 0x0000
    device['modulo_5'].value = 0x0005
    device['minus_1'].value = 0xffffffff
    device['minus_1_modulo'].value = 0xffffffff
    device['rounded_to_4097'].value = 0x1001
    device['rounded_to_4096'].value = 0x1000
    device['rounded_to_1'].value = 0x0001
    device['just_under_a_half_is_0'].value = 0x0000
    device['rounded_to_minus_1'].value = 0xffffffff
    device['rounded_to_80000001'].value = 0x80000001
    device['odd_above_2_to_52_is_1'].value = 0x0001
    device['odd_above_2_to_53_is_1'].value = 0x0001
    device['ten_to_20_is_63100000'].value = 0x63100000
    device['minus_ten_to_20_is_9cf00000'].value = 0x9cf00000
    device['huge_is_0'].value = 0x0000
    device['text_4096'].value = 0x1000
    device['text_modulo_5'].value = 0x0005
    device['text_hexadecimal_is_0'].value = 0x0000
    device['text_is_0'].value = 0x0000
    device['empty_text_is_0'].value = 0x0000
    device['null_is_0'].value = 0x0000
    device['true_is_0'].value = 0x0000
    device['list_is_0'].value = 0x0000
    device['object_is_0'].value = 0x0000
    return
