INSERT INTO tblSite (SiteID, SiteName, Opened, Active) VALUES (9, 'Weir', Now(), Yes)

UPDATE tblCatch SET Weight = Weight * 2, Notes = Notes & ' (re-weighed)' WHERE SiteID = 1

SELECT SiteID, Sum(Weight) FROM tblCatch GROUP BY SiteID