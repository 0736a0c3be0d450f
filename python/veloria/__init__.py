"""Shows the musical structure of a sound: how alike every moment of it is to every other moment.

>>> import numpy as np
>>> import veloria
>>> rate = 11025
>>> t = np.arange(20 * rate) / rate
>>> sound = np.sin(2 * np.pi * np.where(t % 10 < 5, 220, 330) * t)  # two notes, twice
>>> g = veloria.analyse(sound, rate=rate)
>>> g.n
39
>>> g.times[:3]
array([0.49333333, 1.        , 1.50666667])
>>> bool(g.similarity[4, 24] > g.similarity[4, 14])  # the first note comes again after 10 s, and not after 5
True
"""

from ._analyse import Error, analyse, memory
from ._gabarit import Gabarit, read

__all__ = ["Error", "Gabarit", "analyse", "memory", "read"]
__version__ = "1.8.2"
