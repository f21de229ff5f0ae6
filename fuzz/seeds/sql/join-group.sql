SELECT s.SiteName, Count(*) AS Catches, Sum(c.Weight) AS Total, Avg(c.Price) AS AvgPrice
FROM tblSite AS s INNER JOIN tblCatch AS c ON s.SiteID = c.SiteID
WHERE c.Weight Between 0 And 100 AND s.Active = True
GROUP BY s.SiteName
HAVING Count(*) > 0
ORDER BY s.SiteName DESC;