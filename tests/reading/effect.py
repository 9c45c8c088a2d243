"""What an effect names besides its includes."""

def textures(data):
    return []


def pass_shaders(data):
    return []
